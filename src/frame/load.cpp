// Load-time initialisation of the image library.
#include <ovk/ovkcore.h>

// Index of the processor variant a merged library (one holding several
// variants) would dispatch to. Written once at load time; nothing in this
// library reads it, since no code path here depends on processor features.
extern "C" __attribute__((visibility("hidden"))) int ovkJumpIndexForMergedDLL;
int ovkJumpIndexForMergedDLL = 0;

namespace {

constexpr Ovk64u kVariantBits = 0x10 | 0x20;

__attribute__((constructor)) void initialiseLibrary()
{
    ovkGetCpuFeatures(nullptr, nullptr);  // lets the core library detect the processor
    const Ovk64u enabled = ovkGetEnabledCpuFeatures();
    ovkJumpIndexForMergedDLL = (enabled & kVariantBits) == kVariantBits ? 1 : 0;
}

}  // namespace
