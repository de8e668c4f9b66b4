// A minimal C++ program built against an installed copy of the library.
#include <ovk/ovkimx.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#ifndef OVK_EXPECT_MAJOR
#define OVK_EXPECT_MAJOR 8
#endif
#ifndef OVK_EXPECT_MINOR
#define OVK_EXPECT_MINOR 1
#endif

int main()
{
    const OvkLibraryVersion* version = ovkiGetLibVersion();
    if (version == nullptr || version->Version == nullptr || version->Name == nullptr) {
        std::fprintf(stderr, "ovkiGetLibVersion returned no version record\n");
        return 1;
    }
    std::printf("%s %s\n", version->Name, version->Version);
    if (version->major != OVK_EXPECT_MAJOR || version->minor != OVK_EXPECT_MINOR) {
        std::fprintf(stderr, "version %d.%d, expected %d.%d\n", version->major, version->minor,
                     OVK_EXPECT_MAJOR, OVK_EXPECT_MINOR);
        return 1;
    }

    int step = -1;
    Ovk8u* image = ovkiMalloc_8u_C1(100, 7, &step);
    if (image == nullptr || step < 100 || step % 64 != 0 ||
        reinterpret_cast<std::uintptr_t>(image) % 64 != 0) {
        std::fprintf(stderr, "ovkiMalloc_8u_C1(100, 7): image %p, step %d\n",
                     static_cast<void*>(image), step);
        return 1;
    }
    for (int y = 0; y < 7; ++y)
        std::memset(image + y * step, y, 100);
    if (image[6 * step + 99] != 6) {
        std::fprintf(stderr, "image memory not writable as expected\n");
        return 1;
    }
    ovkiFree(image);

    if ((ovkGetEnabledCpuFeatures() & ovkCpuFeatureSSE2) == 0) {
        std::fprintf(stderr, "ovkGetEnabledCpuFeatures lacks SSE2 on x86-64\n");
        return 1;
    }
    return 0;
}
