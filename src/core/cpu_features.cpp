// Processor-feature detection with CPUID. Nothing is cached: every query asks
// the processor again, which keeps the library free of mutable global state
// (the queries are rare: once when the image library loads).
#include <ovk/ovkcore.h>

#include <cpuid.h>

namespace {

struct Regs {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Regs cpuid(unsigned leaf, unsigned subleaf = 0)
{
    Regs r;
    if (!__get_cpuid_count(leaf, subleaf, &r.eax, &r.ebx, &r.ecx, &r.edx)) return Regs{};
    return r;
}

constexpr bool bit(unsigned value, int n) { return (value >> n) & 1u; }

// XCR0 says which register states the operating system saves on a switch.
Ovk64u readXcr0()
{
    unsigned lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<Ovk64u>(hi) << 32) | lo;
}

struct Detected {
    Ovk64u features = 0;
    Regs leaf1;
};

Detected detect()
{
    Detected d;
    const unsigned maxLeaf = cpuid(0).eax;
    const Regs l1 = cpuid(1);
    const Regs l7 = maxLeaf >= 7 ? cpuid(7, 0) : Regs{};
    const Regs l7s1 = maxLeaf >= 7 ? cpuid(7, 1) : Regs{};
    const Regs e1 = cpuid(0x80000000u).eax >= 0x80000001u ? cpuid(0x80000001u) : Regs{};
    d.leaf1 = l1;

    struct Flag {
        unsigned Regs::*reg;
        const Regs* leaf;
        int bitNo;
        Ovk64u feature;
    };
    const Flag flags[] = {
        {&Regs::edx, &l1, 23, ovkCpuFeatureMMX},
        {&Regs::edx, &l1, 25, ovkCpuFeatureSSE},
        {&Regs::edx, &l1, 26, ovkCpuFeatureSSE2},
        {&Regs::ecx, &l1, 0, ovkCpuFeatureSSE3},
        {&Regs::ecx, &l1, 9, ovkCpuFeatureSSSE3},
        {&Regs::ecx, &l1, 22, ovkCpuFeatureMOVBE},
        {&Regs::ecx, &l1, 19, ovkCpuFeatureSSE41},
        {&Regs::ecx, &l1, 20, ovkCpuFeatureSSE42},
        {&Regs::ecx, &l1, 28, ovkCpuFeatureAVX},
        {&Regs::ecx, &l1, 25, ovkCpuFeatureAES},
        {&Regs::ecx, &l1, 1, ovkCpuFeaturePCLMULQDQ},
        {&Regs::ecx, &l1, 30, ovkCpuFeatureRDRAND},
        {&Regs::ecx, &l1, 29, ovkCpuFeatureF16C},
        {&Regs::ecx, &l1, 12, ovkCpuFeatureFMA},
        {&Regs::ecx, &l1, 23, ovkCpuFeaturePOPCNT},
        {&Regs::ecx, &l1, 26, ovkCpuFeatureXSAVE},
        {&Regs::ecx, &l1, 27, ovkCpuFeatureOSXSAVE},
        {&Regs::ecx, &l1, 13, ovkCpuFeatureCX16},
        {&Regs::ecx, &l1, 31, ovkCpuFeatureHYPERVISOR},
        {&Regs::ebx, &l7, 5, ovkCpuFeatureAVX2},
        {&Regs::ebx, &l7, 3, ovkCpuFeatureBMI1},
        {&Regs::ebx, &l7, 8, ovkCpuFeatureBMI2},
        {&Regs::ebx, &l7, 19, ovkCpuFeatureADX},
        {&Regs::ebx, &l7, 18, ovkCpuFeatureRDSEED},
        {&Regs::ebx, &l7, 29, ovkCpuFeatureSHA},
        {&Regs::ebx, &l7, 16, ovkCpuFeatureAVX512F},
        {&Regs::ebx, &l7, 28, ovkCpuFeatureAVX512CD},
        {&Regs::ebx, &l7, 30, ovkCpuFeatureAVX512BW},
        {&Regs::ebx, &l7, 17, ovkCpuFeatureAVX512DQ},
        {&Regs::ebx, &l7, 31, ovkCpuFeatureAVX512VL},
        {&Regs::ebx, &l7, 21, ovkCpuFeatureAVX512IFMA},
        {&Regs::ecx, &l7, 1, ovkCpuFeatureAVX512VBMI},
        {&Regs::ecx, &l7, 6, ovkCpuFeatureAVX512VBMI2},
        {&Regs::ecx, &l7, 11, ovkCpuFeatureAVX512VNNI},
        {&Regs::ecx, &l7, 12, ovkCpuFeatureAVX512BITALG},
        {&Regs::ecx, &l7, 14, ovkCpuFeatureAVX512VPOPCNT},
        {&Regs::edx, &l7, 23, ovkCpuFeatureAVX512FP16},
        {&Regs::ecx, &l7, 8, ovkCpuFeatureGFNI},
        {&Regs::ecx, &l7, 9, ovkCpuFeatureVAES},
        {&Regs::ecx, &l7, 10, ovkCpuFeatureVPCLMULQDQ},
        {&Regs::eax, &l7s1, 4, ovkCpuFeatureAVXVNNI},
        {&Regs::ecx, &e1, 5, ovkCpuFeatureLZCNT},
    };
    for (const Flag& f : flags)
        if (bit(f.leaf->*f.reg, f.bitNo)) d.features |= f.feature;
    return d;
}

constexpr Ovk64u kAvxFamily = ovkCpuFeatureAVX | ovkCpuFeatureAVX2 | ovkCpuFeatureFMA | ovkCpuFeatureF16C |
                              ovkCpuFeatureVAES | ovkCpuFeatureVPCLMULQDQ | ovkCpuFeatureAVXVNNI;
constexpr Ovk64u kAvx512Family = ovkCpuFeatureAVX512F | ovkCpuFeatureAVX512CD | ovkCpuFeatureAVX512BW |
                                 ovkCpuFeatureAVX512DQ | ovkCpuFeatureAVX512VL | ovkCpuFeatureAVX512IFMA |
                                 ovkCpuFeatureAVX512VBMI | ovkCpuFeatureAVX512VBMI2 | ovkCpuFeatureAVX512VNNI |
                                 ovkCpuFeatureAVX512BITALG | ovkCpuFeatureAVX512VPOPCNT | ovkCpuFeatureAVX512FP16;

}  // namespace

extern "C" OvkStatus ovkGetCpuFeatures(Ovk64u* pFeaturesMask, Ovk32u pCpuidInfoRegs[4])
{
    const Detected d = detect();
    if (pFeaturesMask) *pFeaturesMask = d.features;
    if (pCpuidInfoRegs) {
        pCpuidInfoRegs[0] = d.leaf1.eax;
        pCpuidInfoRegs[1] = d.leaf1.ebx;
        pCpuidInfoRegs[2] = d.leaf1.ecx;
        pCpuidInfoRegs[3] = d.leaf1.edx;
    }
    return ovkStatusOk;
}

extern "C" Ovk64u ovkGetEnabledCpuFeatures(void)
{
    Ovk64u features = detect().features;
    const Ovk64u xcr0 = (features & ovkCpuFeatureOSXSAVE) ? readXcr0() : 0;
    const bool ymmSaved = (xcr0 & 0x6) == 0x6;     // SSE and AVX state
    const bool zmmSaved = (xcr0 & 0xE6) == 0xE6;   // plus opmask and both ZMM halves
    if (!ymmSaved) features &= ~(kAvxFamily | kAvx512Family);
    if (!zmmSaved) features &= ~kAvx512Family;
    return features;
}
