/* lum-custom: low-level image and JPEG primitives.
 * The one public header: number types, records, status codes and the 96 exported functions. */
#ifndef LUM_H
#define LUM_H

#include <stddef.h>

#if defined(LUM_BUILDING_LIBRARY)
#define LUM_API __attribute__((visibility("default")))
#else
#define LUM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Number types ------------------------------------------------------------------------- */

typedef unsigned char Lum8u;
typedef unsigned short Lum16u;
typedef signed short Lum16s;
typedef signed int Lum32s;
typedef float Lum32f;
typedef double Lum64f;

/* 0 success, negative error (nothing usable written), positive warning. */
typedef Lum32s LumStatus;

typedef struct LumSize {
    Lum32s width;
    Lum32s height;
} LumSize;

typedef struct LumPoint {
    Lum32s x;
    Lum32s y;
} LumPoint;

typedef struct LumRect {
    Lum32s x;
    Lum32s y;
    Lum32s width;
    Lum32s height;
} LumRect;

/* Constant build record of one family and one tier; tierTag names the tier that answered. */
typedef struct LumLibraryVersion {
    Lum32s versionMajor;
    Lum32s versionMinor;
    Lum32s buildSeries;
    Lum32s buildNumber;
    char tierTag[4];
    const char* libraryName;
    const char* versionText;
    const char* buildDateText;
} LumLibraryVersion;

/* ---- Status codes that the library returns -------------------------------------------------- */

enum {
    lumStsDstBelowOnePixel = -201,
    lumStsCodeLenTooLong = -199,
    lumStsBadCodeLenTable = -198,
    lumStsBadFreqTable = -197,
    lumStsJpegTableDestroyed = -64,
    lumStsJpegCoefOutOfRange = -63,
    lumStsOutOfBuffer = -62,
    lumStsRectTooSmall = -57,
    lumStsBadChannelCount = -53,
    lumStsBadChannel = -47,
    lumStsStrideTooSmall = -37,
    lumStsBadResizeFactor = -23,
    lumStsBadInterpolation = -22,
    lumStsBadFlipMode = -21,
    lumStsMomentTooSmall = -20,
    lumStsBadThreshold = -18,
    lumStsContextMismatch = -17,
    lumStsBadStep = -14,
    lumStsOutOfRange = -11,
    lumStsDivideByZero = -10,
    lumStsBufferTooSmall = -9,
    lumStsNullPointer = -8,
    lumStsBadSize = -6,
    lumStsBadArgument = -5,
    lumStsNoMemory = -4,
    lumStsUnknown = -2,
    lumStsNoErr = 0,
    lumStsNoOperation = 1,
    lumStsDivByZeroWarning = 6,
    lumStsJpegMarkerMet = 10,
    lumStsEmptyIntersection = 29,
    lumStsNonPrimaryVendor = 20,
    lumStsCpuNotSet = 21
};

/* ---- Interpolation codes of the resize functions -------------------------------------------- */

enum {
    lumResizeNearest = 1,
    lumResizeLinear = 2,
    lumResizeCubic = 4,
    lumResizeSuper = 8,
    lumResizeLanczos = 16
};

/* ---- Frame ------------------------------------------------------------------------------------ */

/* Probes the processor and selects the tier; 20 if the vendor is not the primary one or there is no CPUID. */
LUM_API LumStatus lumStaticInit(void);
/* Text of a status code; never null, "Unknown Status Code" for codes outside the table. */
LUM_API const char* lumGetStatusString(LumStatus status);
/* Block of length bytes on a 32-byte boundary, or null for length below 1 or a failed heap. */
LUM_API void* lumMalloc(Lum32s length);
/* Releases a block from any allocator of this library; null does nothing. */
LUM_API void lumFree(void* ptr);
/* Moves ptr up to the next multiple of alignBytes (a power of two); 0 gives 0. */
LUM_API void* lumAlignPtr(void* ptr, Lum32s alignBytes);
/* Block of len floats on a 32-byte boundary, or null for len below 1 or a failed heap. */
LUM_API Lum32f* lumsMalloc_32f(Lum32s len);
/* Same release as lumFree. */
LUM_API void lumsFree(void* ptr);
/* Version record of the image family for the tier in use. */
LUM_API const LumLibraryVersion* lumiGetLibVersion(void);
/* Version record of the signal family for the tier in use. */
LUM_API const LumLibraryVersion* lumsGetLibVersion(void);

/* ---- Signal primitives ------------------------------------------------------------------------ */

/* Copies len bytes; overlapping buffers are not supported. */
LUM_API LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, Lum32s len);
/* Sets len bytes to zero. */
LUM_API LumStatus lumsZero_8u(Lum8u* pDst, Lum32s len);
/* Sum of len floats into *pSum; hint 1 asks for the fast single-precision mode in vector tiers. */
LUM_API LumStatus lumsSum_32f(const Lum32f* pSrc, Lum32s len, Lum32f* pSum, Lum32s hint);
/* Clamps in place: relOp 4 keeps values not above level, any other keeps values not below it. */
LUM_API LumStatus lumsThreshold_32f_I(Lum32f* pSrcDst, Lum32s len, Lum32f level, Lum32s relOp);

/* ---- Opaque records --------------------------------------------------------------------------- */
/* Spatial moment record of a one-channel float image; made by lumiMomentInitAlloc_64f, freed by lumiMomentFree_64f. */
typedef struct LumMomentRecord LumMomentRecord;
/* Huffman code table of the encoder, 1024 bytes; read-only once built, may be shared. */
typedef struct LumEncodeHuffmanSpec LumEncodeHuffmanSpec;
/* Running bit output of one encoded scan, 1048 bytes. */
typedef struct LumEncodeHuffmanState LumEncodeHuffmanState;
/* Huffman decoding tables, 1644 bytes; read-only once built, may be shared. */
typedef struct LumDecodeHuffmanSpec LumDecodeHuffmanSpec;
/* Running bit input of one decoded scan, 24 bytes. */
typedef struct LumDecodeHuffmanState LumDecodeHuffmanState;

/* ---- Image movement --------------------------------------------------------------------------- */
/* Copies a region of one-channel bytes. */
LUM_API LumStatus lumiCopy_8u_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Copies a region of three-channel interleaved pixels. */
LUM_API LumStatus lumiCopy_8u_C3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Copies a region of four-channel interleaved pixels. */
LUM_API LumStatus lumiCopy_8u_C4R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Copies three-channel pixels into four-byte pixels, leaving each fourth byte of the destination alone. */
LUM_API LumStatus lumiCopy_8u_C3AC4R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Interleaves three planes, which share srcStep, into three-channel pixels. */
LUM_API LumStatus lumiCopy_8u_P3C3R(const Lum8u* const pSrc[3], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Interleaves four planes, which share srcStep, into four-channel pixels. */
LUM_API LumStatus lumiCopy_8u_P4C4R(const Lum8u* const pSrc[4], Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Sets one channel of a four-channel region to value; pDst addresses that channel of the first pixel. */
LUM_API LumStatus lumiSet_8u_C4CR(Lum8u value, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Mirrors one-channel bytes into pDst; flip 0 top to bottom, 1 left to right, 2 both. */
LUM_API LumStatus lumiMirror_8u_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize, Lum32s flip);
/* Mirrors three-channel pixels into pDst, keeping the byte order within a pixel; flip 0, 1 or 2. */
LUM_API LumStatus lumiMirror_8u_C3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize, Lum32s flip);
/* Mirrors one-channel bytes in place; flip 0 top to bottom, 1 left to right, 2 both. */
LUM_API LumStatus lumiMirror_8u_C1IR(Lum8u* pSrcDst, Lum32s srcDstStep, LumSize roiSize, Lum32s flip);
/* Mirrors three-channel pixels in place, keeping the byte order within a pixel; flip 0, 1 or 2. */
LUM_API LumStatus lumiMirror_8u_C3IR(Lum8u* pSrcDst, Lum32s srcDstStep, LumSize roiSize, Lum32s flip);

/* ---- Spatial moments -------------------------------------------------------------------------- */
/* Allocates a moment record; hint 2 asks for full accuracy where a tier offers a choice. */
LUM_API LumStatus lumiMomentInitAlloc_64f(LumMomentRecord** ppState, Lum32s hint);
/* Releases a record from lumiMomentInitAlloc_64f. */
LUM_API LumStatus lumiMomentFree_64f(LumMomentRecord* pState);
/* Computes the raw moments up to third order of a float region into the record, replacing what it held. */
LUM_API LumStatus lumiMoments64f_32f_C1R(const Lum32f* pSrc, Lum32s srcStep, LumSize roiSize, LumMomentRecord* pState);
/* Reads moment (xOrder, yOrder) of a channel, taken about origin, into *pValue. */
LUM_API LumStatus lumiGetSpatialMoment_64f(const LumMomentRecord* pState, Lum32s xOrder, Lum32s yOrder, Lum32s channel, LumPoint origin, Lum64f* pValue);

/* ---- Video colour conversion ------------------------------------------------------------------ */
/* Interleaved RGB to planar YUV 4:2:0, chroma planes of half width and height rounded up. */
LUM_API LumStatus lumiRGBToYUV420_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3], const Lum32s dstStep[3], LumSize roiSize);
/* Interleaved RGB to planar YUV 4:2:2, chroma planes of half width rounded up. */
LUM_API LumStatus lumiRGBToYUV422_8u_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3], const Lum32s dstStep[3], LumSize roiSize);
/* Packed YCbCr 4:2:2 to planar 4:2:0, chroma taken from the upper row of each pair. */
LUM_API LumStatus lumiYCbCr422ToYCbCr420_8u_C2P3R(const Lum8u* pSrc, Lum32s srcStep, Lum8u* const pDst[3], const Lum32s dstStep[3], LumSize roiSize);
/* Planar Y, Cr, Cb 4:2:0 to packed YCbCr 4:2:2, each chroma row serving two output rows. */
LUM_API LumStatus lumiYCrCb420ToYCbCr422_8u_P3C2R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Planar YUV 4:2:0 to interleaved BGR. */
LUM_API LumStatus lumiYUV420ToBGR_8u_P3C3R(const Lum8u* const pSrc[3], const Lum32s srcStep[3], Lum8u* pDst, Lum32s dstStep, LumSize roiSize);

/* ---- Block transforms ------------------------------------------------------------------------- */
/* Forward 8x8 DCT in place: level-shifted samples to coefficients in natural order. */
LUM_API LumStatus lumiDCT8x8Fwd_16s_C1I(Lum16s* pSrcDst);
/* Inverse 8x8 DCT in place: coefficients to level-shifted samples, not clamped. */
LUM_API LumStatus lumiDCT8x8Inv_16s_C1I(Lum16s* pSrcDst);
/* Scales a raw 64-byte quantization table in place by quality; quality must be positive. */
LUM_API LumStatus lumiQuantFwdRawTableInit_JPEG_8u(Lum8u* pRawTable, Lum32s quality);
/* Builds the 64 forward reciprocals in natural order from a raw zigzag table. */
LUM_API LumStatus lumiQuantFwdTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pFwdTable);
/* Builds the 64 inverse steps in natural order from a raw zigzag table. */
LUM_API LumStatus lumiQuantInvTableInit_JPEG_8u16u(const Lum8u* pRawTable, Lum16u* pInvTable);
/* Quantizes one 8x8 block in place with a forward table. */
LUM_API LumStatus lumiQuantFwd8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pFwdTable);
/* Dequantizes one 8x8 block in place with an inverse table. */
LUM_API LumStatus lumiQuantInv8x8_JPEG_16s_C1I(Lum16s* pSrcDst, const Lum16u* pInvTable);
/* Subtracts 128 from each byte of a region, giving 16-bit samples. */
LUM_API LumStatus lumiSub128_JPEG_8u16s_C1R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* pDst, Lum32s dstStep, LumSize roiSize);
/* Adds 128 to each 16-bit sample of a region and clamps to bytes. */
LUM_API LumStatus lumiAdd128_JPEG_16s8u_C1R(const Lum16s* pSrc, Lum32s srcStep, Lum8u* pDst, Lum32s dstStep, LumSize roiSize);
/* Reorders one block from zigzag to natural order; the buffers must not overlap. */
LUM_API LumStatus lumiZigzagInv8x8_16s_C1(const Lum16s* pSrc, Lum16s* pDst);

/* ---- Huffman encoding ------------------------------------------------------------------------- */
/* Writes the byte size of LumEncodeHuffmanSpec. */
LUM_API LumStatus lumiEncodeHuffmanSpecGetBufSize_JPEG_8u(Lum32s* pSize);
/* Builds an encoder code table from 16 code-length counts and the symbols in code order. */
LUM_API LumStatus lumiEncodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumEncodeHuffmanSpec* pSpec);
/* Writes the byte size of LumEncodeHuffmanState. */
LUM_API LumStatus lumiEncodeHuffmanStateGetBufSize_JPEG_8u(Lum32s* pSize);
/* Resets an encoder state for a new scan. */
LUM_API LumStatus lumiEncodeHuffmanStateInit_JPEG_8u(LumEncodeHuffmanState* pState);
/* Encodes one block of a sequential scan at *pDstPos; nonzero flush pads the scan to a byte instead. */
LUM_API LumStatus lumiEncodeHuffman8x8_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum16s* pLastDc, const LumEncodeHuffmanSpec* pDcSpec, const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState, Lum32s flush);
/* Encodes the DC of one block in a progressive first DC scan; nonzero flush ends the scan. */
LUM_API LumStatus lumiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum16s* pLastDc, Lum32s Al, const LumEncodeHuffmanSpec* pDcSpec, LumEncodeHuffmanState* pState, Lum32s flush);
/* Encodes the DC refinement bit of one block; nonzero flush ends the scan. */
LUM_API LumStatus lumiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush);
/* Encodes band Ss to Se of one block in a progressive first AC scan; nonzero flush emits the EOB run. */
LUM_API LumStatus lumiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum32s Ss, Lum32s Se, Lum32s Al, const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState, Lum32s flush);
/* Encodes band Ss to Se of one block in an AC refinement scan; nonzero flush emits the EOB run and its bits. */
LUM_API LumStatus lumiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum32s Ss, Lum32s Se, Lum32s Al, const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState, Lum32s flush);

/* ---- Huffman decoding ------------------------------------------------------------------------- */
/* Writes the byte size of LumDecodeHuffmanSpec. */
LUM_API LumStatus lumiDecodeHuffmanSpecGetBufSize_JPEG_8u(Lum32s* pSize);
/* Builds decoder tables from 16 code-length counts and the symbols in code order. */
LUM_API LumStatus lumiDecodeHuffmanSpecInit_JPEG_8u(const Lum8u* pBits, const Lum8u* pVals, LumDecodeHuffmanSpec* pSpec);
/* Writes the byte size of LumDecodeHuffmanState. */
LUM_API LumStatus lumiDecodeHuffmanStateGetBufSize_JPEG_8u(Lum32s* pSize);
/* Resets a decoder state for a new scan or restart interval. */
LUM_API LumStatus lumiDecodeHuffmanStateInit_JPEG_8u(LumDecodeHuffmanState* pState);
/* Allocates and resets a decoder state, stored in *pStateOut. */
LUM_API LumStatus lumiDecodeHuffmanStateInitAlloc_JPEG_8u(LumDecodeHuffmanState** pStateOut);
/* Releases a state from lumiDecodeHuffmanStateInitAlloc_JPEG_8u. */
LUM_API LumStatus lumiDecodeHuffmanStateFree_JPEG_8u(LumDecodeHuffmanState* pState);
/* Decodes one block of a sequential scan from *pSrcPos into pDst, natural order; a marker met goes to *pMarker. */
LUM_API LumStatus lumiDecodeHuffman8x8_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum16s* pLastDc, Lum32s* pMarker, const LumDecodeHuffmanSpec* pDcSpec, const LumDecodeHuffmanSpec* pAcSpec, LumDecodeHuffmanState* pState);
/* Decodes the DC of one block in a progressive first DC scan into the block kept by the caller. */
LUM_API LumStatus lumiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum16s* pLastDc, Lum32s* pMarker, Lum32s Al, const LumDecodeHuffmanSpec* pDcSpec, LumDecodeHuffmanState* pState);
/* Decodes the DC refinement bit of one block into the block kept by the caller. */
LUM_API LumStatus lumiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum32s* pMarker, Lum32s Al, LumDecodeHuffmanState* pState);
/* Decodes band Ss to Se of one block in a progressive first AC scan. */
LUM_API LumStatus lumiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum32s* pMarker, Lum32s Ss, Lum32s Se, Lum32s Al, const LumDecodeHuffmanSpec* pAcSpec, LumDecodeHuffmanState* pState);
/* Decodes band Ss to Se of one block in an AC refinement scan, adding to the block kept by the caller. */
LUM_API LumStatus lumiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const Lum8u* pSrc, Lum32s srcLen, Lum32s* pSrcPos, Lum16s* pDst, Lum32s* pMarker, Lum32s Ss, Lum32s Se, Lum32s Al, const LumDecodeHuffmanSpec* pAcSpec, LumDecodeHuffmanState* pState);

/* ---- Huffman statistics and table construction ------------------------------------------------ */
/* Counts into pFreq the DC symbol that a first DC scan would send for one block. */
LUM_API LumStatus lumiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum16s* pLastDc, Lum32s Al);
/* Counts into pFreq the symbols that a first AC scan would send for one block; nonzero flush counts the EOB run. */
LUM_API LumStatus lumiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se, Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush);
/* Counts into pFreq the symbols that an AC refinement scan would send for one block; nonzero flush counts the EOB run. */
LUM_API LumStatus lumiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const Lum16s* pSrc, Lum32s* pFreq, Lum32s Ss, Lum32s Se, Lum32s Al, LumEncodeHuffmanState* pState, Lum32s flush);
/* Builds the 16 code-length counts and the symbol list of an optimal table from 257 counts in pFreq. */
LUM_API LumStatus lumiEncodeHuffmanRawTableInit_JPEG_8u(const Lum32s* pFreq, Lum8u* pBits, Lum8u* pVals);

/* ---- MCU colour and sampling ------------------------------------------------------------------ */
/* One 8x8 RGB MCU to level-shifted Y, Cb, Cr planes (4:4:4). */
LUM_API LumStatus lumiRGBToYCbCr444LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x8 RGB MCU to level-shifted Y, Cb, Cr planes (4:2:2). */
LUM_API LumStatus lumiRGBToYCbCr422LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x16 RGB MCU to level-shifted Y, Cb, Cr planes (chroma 2x2 sub-sampled). */
LUM_API LumStatus lumiRGBToYCbCr411LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 8x8 BGR MCU to level-shifted Y, Cb, Cr planes (4:4:4). */
LUM_API LumStatus lumiBGRToYCbCr444LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x8 BGR MCU to level-shifted Y, Cb, Cr planes (4:2:2). */
LUM_API LumStatus lumiBGRToYCbCr422LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x16 BGR MCU to level-shifted Y, Cb, Cr planes (chroma 2x2 sub-sampled). */
LUM_API LumStatus lumiBGRToYCbCr411LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* Level-shifted Y, Cb, Cr planes (4:4:4) to one 8x8 RGB MCU. */
LUM_API LumStatus lumiYCbCr444ToRGBLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr planes (4:2:2) to one 16x8 RGB MCU. */
LUM_API LumStatus lumiYCbCr422ToRGBLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr planes (chroma 2x2 sub-sampled) to one 16x16 RGB MCU. */
LUM_API LumStatus lumiYCbCr411ToRGBLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr planes (4:4:4) to one 8x8 BGR MCU. */
LUM_API LumStatus lumiYCbCr444ToBGRLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr planes (4:2:2) to one 16x8 BGR MCU. */
LUM_API LumStatus lumiYCbCr422ToBGRLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr planes (chroma 2x2 sub-sampled) to one 16x16 BGR MCU. */
LUM_API LumStatus lumiYCbCr411ToBGRLS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* One 8x8 CMYK MCU to level-shifted Y, Cb, Cr, K planes (4:4:4). */
LUM_API LumStatus lumiCMYKToYCCK444LS_MCU_8u16s_C4P4R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[4]);
/* One 16x8 CMYK MCU to level-shifted Y, Cb, Cr, K planes (4:2:2, K at full resolution). */
LUM_API LumStatus lumiCMYKToYCCK422LS_MCU_8u16s_C4P4R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[4]);
/* One 16x16 CMYK MCU to level-shifted Y, Cb, Cr, K planes (chroma 2x2 sub-sampled, K at full resolution). */
LUM_API LumStatus lumiCMYKToYCCK411LS_MCU_8u16s_C4P4R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[4]);
/* Level-shifted Y, Cb, Cr, K planes (4:4:4) to one 8x8 CMYK MCU. */
LUM_API LumStatus lumiYCCK444ToCMYKLS_MCU_16s8u_P4C4R(const Lum16s* const pSrcMCU[4], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr, K planes (4:2:2) to one 16x8 CMYK MCU. */
LUM_API LumStatus lumiYCCK422ToCMYKLS_MCU_16s8u_P4C4R(const Lum16s* const pSrcMCU[4], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted Y, Cb, Cr, K planes (chroma 2x2 sub-sampled) to one 16x16 CMYK MCU. */
LUM_API LumStatus lumiYCCK411ToCMYKLS_MCU_16s8u_P4C4R(const Lum16s* const pSrcMCU[4], Lum8u* pDst, Lum32s dstStep);
/* One 8x8 MCU of three-byte pixels to level-shifted planes, no colour conversion (4:4:4). */
LUM_API LumStatus lumiSampleDown444LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x8 MCU of three-byte pixels to level-shifted planes, chroma averaged in pairs (4:2:2). */
LUM_API LumStatus lumiSampleDown422LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* One 16x16 MCU of three-byte pixels to level-shifted planes, chroma averaged over 2x2 cells. */
LUM_API LumStatus lumiSampleDown411LS_MCU_8u16s_C3P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* Level-shifted planes (4:4:4) to one 8x8 MCU of three-byte pixels, no colour conversion. */
LUM_API LumStatus lumiSampleUp444LS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted planes (4:2:2) to one 16x8 MCU of three-byte pixels, chroma replicated. */
LUM_API LumStatus lumiSampleUp422LS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* Level-shifted planes (chroma 2x2 sub-sampled) to one 16x16 MCU of three-byte pixels, chroma replicated. */
LUM_API LumStatus lumiSampleUp411LS_MCU_16s8u_P3C3R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);
/* One 16x8 MCU of packed Y0 Cb Y1 Cr bytes to level-shifted 4:2:2 planes. */
LUM_API LumStatus lumiSplit422LS_MCU_8u16s_C2P3R(const Lum8u* pSrc, Lum32s srcStep, Lum16s* const pDstMCU[3]);
/* Level-shifted 4:2:2 planes to one 16x8 MCU of packed Y0 Cb Y1 Cr bytes. */
LUM_API LumStatus lumiJoin422LS_MCU_16s8u_P3C2R(const Lum16s* const pSrcMCU[3], Lum8u* pDst, Lum32s dstStep);

/* ---- Image resize ----------------------------------------------------------------------------- */
/* Writes the scratch size in bytes that lumiResizeSqrPixel_8u_C1R needs for a destination size and mode. */
LUM_API LumStatus lumiResizeSqrPixelGetBufSize(LumSize dstSize, Lum32s nChannel, Lum32s interpolation, Lum32s* pBufferSize);
/* Scales a one-channel source region by factor and shift into dstRoi, working in the caller's scratch pBuffer. */
LUM_API LumStatus lumiResizeSqrPixel_8u_C1R(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi, Lum8u* pDst, Lum32s dstStep, LumRect dstRoi, Lum64f xFactor, Lum64f yFactor, Lum64f xShift, Lum64f yShift, Lum32s interpolation, Lum8u* pBuffer);
/* Scales a three-channel source region into pDst, at most dstRoiSize, mapping end samples onto end samples. */
LUM_API LumStatus lumiResize_8u_C3R(const Lum8u* pSrc, LumSize srcSize, Lum32s srcStep, LumRect srcRoi, Lum8u* pDst, Lum32s dstStep, LumSize dstRoiSize, Lum64f xFactor, Lum64f yFactor, Lum32s interpolation);

#ifdef __cplusplus
}
#endif

#endif /* LUM_H */
