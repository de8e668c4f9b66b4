/* A minimal C99 program built against an installed copy of the library. */
#include <ovk/ovkimx.h>

#include <stdio.h>
#include <string.h>

#ifndef OVK_EXPECT_MAJOR
#define OVK_EXPECT_MAJOR 8
#endif
#ifndef OVK_EXPECT_MINOR
#define OVK_EXPECT_MINOR 1
#endif

int main(void)
{
    const OvkLibraryVersion* version = ovkiGetLibVersion();
    int step = -1;
    Ovk8u* image;
    int y;

    if (version == NULL || version->Version == NULL || version->Name == NULL) {
        fprintf(stderr, "ovkiGetLibVersion returned no version record\n");
        return 1;
    }
    printf("%s %s\n", version->Name, version->Version);
    if (version->major != OVK_EXPECT_MAJOR || version->minor != OVK_EXPECT_MINOR) {
        fprintf(stderr, "version %d.%d, expected %d.%d\n", version->major, version->minor,
                OVK_EXPECT_MAJOR, OVK_EXPECT_MINOR);
        return 1;
    }

    image = ovkiMalloc_8u_C1(100, 7, &step);
    if (image == NULL || step < 100 || step % 64 != 0 || (size_t)image % 64 != 0) {
        fprintf(stderr, "ovkiMalloc_8u_C1(100, 7): image %p, step %d\n", (void*)image, step);
        return 1;
    }
    for (y = 0; y < 7; ++y)
        memset(image + y * step, y, 100);
    if (image[6 * step + 99] != 6) {
        fprintf(stderr, "image memory not writable as expected\n");
        return 1;
    }
    ovkiFree(image);

    if ((ovkGetEnabledCpuFeatures() & ovkCpuFeatureSSE2) == 0) {
        fprintf(stderr, "ovkGetEnabledCpuFeatures lacks SSE2 on x86-64\n");
        return 1;
    }
    return 0;
}
