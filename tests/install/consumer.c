/* A C program that uses the installed library through its header and one of its link forms. */
#include <lum.h>

#include <stdio.h>
#include <string.h>

int main(void)
{
    Lum8u src[64];
    Lum8u dst[64];
    const LumLibraryVersion* v = lumsGetLibVersion();
    memset(src, 7, sizeof src);
    memset(dst, 0, sizeof dst);
    if (lumsCopy_8u(src, dst, 64) != lumStsNoErr || memcmp(src, dst, 64) != 0) return 1;
    if (lumsCopy_8u(NULL, dst, 64) != lumStsNullPointer) return 2;
    printf("tier %s, %s\n", v->tierTag, lumGetStatusString(lumStsNoErr));
    return 0;
}
