/* The public header compiled as C99: types, constants and calls through the C ABI. */
#include <lum.h>

#include <string.h>

int lumtestCHeaderCalls(void)
{
    Lum8u src[5] = {1, 2, 3, 4, 5};
    LumSize size = {3, 4};
    LumPoint point = {1, 2};
    LumRect rect = {0, 0, 3, 4};
    const LumLibraryVersion* v = lumiGetLibVersion();
    void* block = lumMalloc(16);
    int ok = 1;
    ok &= lumStsNoErr == 0 && lumStsNullPointer == -8 && lumResizeLanczos == 16;
    ok &= size.width * size.height + point.x + point.y + rect.width == 18;
    ok &= strcmp(lumGetStatusString(lumStsBadSize), "Wrong value of data size") == 0;
    ok &= v != NULL && v->versionMajor == 5;
    ok &= block != NULL && lumAlignPtr(block, 32) == block;
    ok &= src[4] == 5;
    lumFree(block);
    return ok;
}
