// Progressive encoding: DC first and DC refine in the narrow form of every tier, and the AC first and
// AC refine kernels, written once over a sink that either sends codes (through the narrow writer in
// px, the wide one in a6, w7 and t7) or counts them (the statistics pass).
#pragma once

#include "jpeg/huffman_enc.h"
#include "jpeg/jpeg_tables.h"

namespace lum::henc {
namespace {

constexpr int kMaxAl = 13;

// Al, and in the AC primitives the band: 1 <= Ss <= Se <= 63.
inline LumStatus checkBand(Lum32s Ss, Lum32s Se, Lum32s Al)
{
    if (Al < 0 || Al > kMaxAl || Ss < 1 || Ss > 63 || Se < Ss || Se > 63) return lumStsBadArgument;
    return lumStsNoErr;
}

// floor(log2(v)) for v >= 1; a run that is not positive reads as far too large.
inline int floorLog2(int32_t v) { return std::bit_width(static_cast<uint32_t>(v)) - 1; }

// EmitEobRun: announces the pending run as EOBn with its n low bits. A failed send leaves the run.
template <typename Sink>
LumStatus emitEobRun(Sink& sink, const LumEncodeHuffmanSpec* pSpec, int32_t& eobRun)
{
    if (eobRun == 0) return lumStsNoErr;
    if (eobRun > kEobRunLimit) {
        const LumStatus status = sink.codeAndValue(pSpec, kEob14, static_cast<uint32_t>(eobRun), 14);
        if (status != lumStsNoErr) return status;
        eobRun -= kEobRunLimit;
    }
    const int n = floorLog2(eobRun);
    if (n > 14) return lumStsJpegCoefOutOfRange;
    // A run of 1 is EOB0, which has no extra bits.
    const LumStatus status =
        n == 0 ? sink.code(pSpec, kEob0) : sink.codeAndValue(pSpec, 16 * n, static_cast<uint32_t>(eobRun), n);
    if (status == lumStsNoErr) eobRun = 0;
    return status;
}

// One block of a first AC pass. A coefficient that the point transform (on the magnitude, so
// rounding toward zero) brings to 0 counts as zero. Sink::kSizeLimit is 11 when sending, 10 when
// counting.
template <typename Sink>
LumStatus acFirstBlock(Sink& sink, const LumEncodeHuffmanSpec* pSpec, const Lum16s* pSrc, int ss, int se, int al,
                       int32_t& eobRun)
{
    int run = 0;
    for (int k = ss; k <= se; ++k) {
        const int32_t c = pSrc[ZigzagOrder[k]];
        const uint32_t a = magnitude(c) >> al;
        if (a == 0) {
            ++run;
            continue;
        }
        LumStatus status = emitEobRun(sink, pSpec, eobRun);
        if (status != lumStsNoErr) return status;
        for (; run > 15; run -= 16) {
            status = sink.code(pSpec, kZrl);
            if (status != lumStsNoErr) return status;
        }
        const int size = std::bit_width(a);
        if (size > Sink::kSizeLimit) return lumStsJpegCoefOutOfRange;
        // A negative coefficient sends the complement of its magnitude.
        status = sink.codeAndValue(pSpec, 16 * run + size, a ^ static_cast<uint32_t>(c >> 31), size);
        if (status != lumStsNoErr) return status;
        run = 0;
    }
    if (run > 0 && ++eobRun == kEobRunLimit) return emitEobRun(sink, pSpec, eobRun);
    return lumStsNoErr;
}

// One block of an AC refinement pass. `be` counts the correction bits of earlier blocks at the start
// of corrBits; this block's own bits follow them until a symbol sends both. The stream order is: the
// pending run, the earlier bits, the symbol, its sign bit, this block's bits.
template <typename Sink>
LumStatus acRefineBlock(Sink& sink, const LumEncodeHuffmanSpec* pSpec, const Lum16s* pSrc, int ss, int se, int al,
                        int32_t& eobRun, int32_t& be, uint8_t* corrBits)
{
    uint32_t a[64];
    bool negative[64];
    int lastNew = 0;
    for (int k = ss; k <= se; ++k) {
        const int32_t c = pSrc[ZigzagOrder[k]];
        a[k] = magnitude(c) >> al;
        negative[k] = c < 0;
        if (a[k] == 1) lastNew = k;
    }

    int run = 0;
    int32_t br = 0;
    uint8_t* blockBits = corrBits + be;
    LumStatus status = lumStsNoErr;
    // Sends the pending run, the earlier blocks' bits, a symbol (and a sign bit), this block's bits.
    const auto sendSymbol = [&](int symbol, int signBits, uint32_t sign) {
        if ((status = emitEobRun(sink, pSpec, eobRun)) != lumStsNoErr) return false;
        if ((status = sink.corrBits(corrBits, be)) != lumStsNoErr) return false;
        status = signBits == 0 ? sink.code(pSpec, symbol) : sink.codeAndValue(pSpec, symbol, sign, signBits);
        if (status != lumStsNoErr) return false;
        if ((status = sink.corrBits(blockBits, br)) != lumStsNoErr) return false;
        blockBits = corrBits;
        return true;
    };
    for (int k = ss; k <= se; ++k) {
        if (a[k] == 0) {
            ++run;
            continue;
        }
        // A long run with something new behind it needs ZRLs; one with only old coefficients
        // behind it is left to the EOB run.
        for (; run > 15 && k <= lastNew; run -= 16)
            if (!sendSymbol(kZrl, 0, 0)) return status;
        if (a[k] > 1) {
            sink.storeCorrBit(blockBits + br++, a[k] & 1);
            continue;
        }
        if (!sendSymbol(16 * run + 1, 1, negative[k] ? 0 : 1)) return status;
        run = 0;
    }
    if (run == 0 && br == 0) return lumStsNoErr;
    ++eobRun;
    be += br;
    if (eobRun == kEobRunLimit || be >= kCorrBitLimit) {
        if ((status = emitEobRun(sink, pSpec, eobRun)) != lumStsNoErr) return status;
        return sink.corrBits(corrBits, be);
    }
    return lumStsNoErr;
}

// The encoding sink: a writer with the size limit of the encoding primitives.
template <typename Writer>
class SendSink : public Writer {
public:
    using Writer::Writer;
    static constexpr int kSizeLimit = 11;
};

// Which AC primitive a shared body serves.
enum class AcPass { first, refine };

// The flush of the AC primitives: the pending run, the pending correction bits, the padding, then
// the reset. px and the wide tiers differ in which failure they report and in what the reset keeps.
template <typename Tier, AcPass Pass>
LumStatus flushAc(Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, const LumEncodeHuffmanSpec* pAcSpec,
                  LumEncodeHuffmanState* pState)
{
    StateHead head = loadHead(pState);
    int32_t eobRun = head.eobRun;
    int32_t be = head.corrBitCount;
    LumStatus status;
    if constexpr (!Tier::kVector) {
        // px: AC first reports the padding alone; AC refine reports an earlier failure unless the
        // padding failed too. The reset clears everything.
        SendSink<NarrowWriter> w(pDst, dstLen, *pDstPos, head);
        LumStatus earlier = emitEobRun(w, pAcSpec, eobRun);
        if (earlier == lumStsNoErr) earlier = w.corrBits(corrBitsOf(pState), be);
        status = w.pad();
        if (Pass == AcPass::refine && status == lumStsNoErr) status = earlier;
        *pDstPos = w.pos();
        resetState<Tier>(pState);
    } else {
        // The wide tiers: a missing code or an oversized run is kept and skips the correction bits,
        // but the padding still goes out; a full buffer replaces the status and ends the writing.
        // The reset keeps the run as it stands.
        SendSink<WideWriter> w(pDst, dstLen, *pDstPos, head);
        status = emitEobRun(w, pAcSpec, eobRun);
        if (status == lumStsNoErr) status = w.corrBits(corrBitsOf(pState), be);
        if (status != lumStsOutOfBuffer) {
            const LumStatus padding = w.pad();
            if (padding != lumStsNoErr) status = padding;
        }
        *pDstPos = w.pos();
        resetState<Tier>(pState);
        head = StateHead{};
        head.eobRun = eobRun;
        storeHead(pState, head);
    }
    return status;
}

// The body of the AC encoding primitives in every tier: checks, flush, then one block through the
// tier's writer, with everything local stored back whatever the outcome.
template <typename Tier, AcPass Pass>
LumStatus encodeAc(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum32s Ss, Lum32s Se, Lum32s Al,
                   const LumEncodeHuffmanSpec* pAcSpec, LumEncodeHuffmanState* pState, Lum32s flush)
{
    LumStatus status = checkOutputArgs(pDst, dstLen, pDstPos, pState);
    if (status != lumStsNoErr) return status;
    if (pAcSpec == nullptr) return lumStsNullPointer;
    if (flush != 0) return flushAc<Tier, Pass>(pDst, dstLen, pDstPos, pAcSpec, pState);
    if (pSrc == nullptr) return lumStsNullPointer;
    status = checkBand(Ss, Se, Al);
    if (status != lumStsNoErr) return status;

    StateHead head = loadHead(pState);
    using Writer = std::conditional_t<Tier::kVector, WideWriter, NarrowWriter>;
    SendSink<Writer> w(pDst, dstLen, *pDstPos, head);
    if constexpr (Pass == AcPass::first)
        status = acFirstBlock(w, pAcSpec, pSrc, Ss, Se, Al, head.eobRun);
    else
        status = acRefineBlock(w, pAcSpec, pSrc, Ss, Se, Al, head.eobRun, head.corrBitCount, corrBitsOf(pState));
    *pDstPos = w.pos();
    w.storeBits(head);
    storeHead(pState, head);
    return status;
}

// DC first: the point-transformed DC difference. The predictor holds the transformed value and
// moves before anything is written.
template <typename Tier>
LumStatus encodeDcFirst(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum16s* pLastDc,
                        Lum32s Al, const LumEncodeHuffmanSpec* pDcSpec, LumEncodeHuffmanState* pState,
                        Lum32s flush)
{
    LumStatus status = checkOutputArgs(pDst, dstLen, pDstPos, pState);
    if (status != lumStsNoErr) return status;
    if (flush != 0) return flushNarrow<Tier>(pDst, dstLen, pDstPos, pState);
    if (pSrc == nullptr || pLastDc == nullptr) return lumStsNullPointer;
    if (Al < 0 || Al > kMaxAl) return lumStsBadArgument;
    if (pDcSpec == nullptr) return lumStsNullPointer;

    const int32_t t = pSrc[0] >> Al;
    const int32_t diff = t - *pLastDc;
    *pLastDc = static_cast<Lum16s>(t);
    const int size = valueSize(diff);
    if (size > 11) return lumStsJpegCoefOutOfRange;

    StateHead head = loadHead(pState);
    NarrowWriter w(pDst, dstLen, *pDstPos, head);
    status = w.code(pDcSpec, size);
    if (status == lumStsNoErr && size != 0) status = w.bits(extraBits(diff), size);
    *pDstPos = w.pos();
    w.storeBits(head);
    storeHead(pState, head);
    return status;
}

// DC refine: bit Al of the DC coefficient; PutBits' mask picks it.
template <typename Tier>
LumStatus encodeDcRefine(const Lum16s* pSrc, Lum8u* pDst, Lum32s dstLen, Lum32s* pDstPos, Lum32s Al,
                         LumEncodeHuffmanState* pState, Lum32s flush)
{
    LumStatus status = checkOutputArgs(pDst, dstLen, pDstPos, pState);
    if (status != lumStsNoErr) return status;
    if (flush != 0) return flushNarrow<Tier>(pDst, dstLen, pDstPos, pState);
    if (pSrc == nullptr) return lumStsNullPointer;
    if (Al < 0 || Al > kMaxAl) return lumStsBadArgument;

    StateHead head = loadHead(pState);
    NarrowWriter w(pDst, dstLen, *pDstPos, head);
    status = w.bits(static_cast<uint32_t>(pSrc[0] >> Al), 1);
    *pDstPos = w.pos();
    w.storeBits(head);
    storeHead(pState, head);
    return status;
}

}  // namespace
}  // namespace lum::henc
