#include <gtest/gtest.h>
#include <ovk/ovkimx.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

TEST(Version, Record)
{
    const OvkLibraryVersion* v = ovkiGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->major, 8);
    EXPECT_EQ(v->minor, 1);
    EXPECT_EQ(v->majorBuild, 1);
    EXPECT_EQ(v->build, 42291);
    // The generic library, or the sibling the test run was pointed at.
    const std::string variant = std::getenv("OVK_VARIANT") ? std::getenv("OVK_VARIANT") : "mx";
    const char cpu[4] = {variant[0], variant[1], 0, 0};
    EXPECT_EQ(std::memcmp(v->targetCpu, cpu, 4), 0);
    EXPECT_STREQ(v->Name, variant == "my" ? "ovkIP AVX2 (my)" : "ovkIP PX (mx)");
    EXPECT_STREQ(v->Version, "8.1.1 (r42291)");
    EXPECT_STREQ(v->BuildDate, "Apr 10 2014");
}

TEST(Version, SamePointerEveryCall)
{
    EXPECT_EQ(ovkiGetLibVersion(), ovkiGetLibVersion());
}

TEST(CpuFeatures, DetectionIsConsistent)
{
    Ovk64u detected = 0;
    Ovk32u regs[4] = {0, 0, 0, 0};
    EXPECT_EQ(ovkGetCpuFeatures(&detected, regs), ovkStatusOk);
    EXPECT_EQ(ovkGetCpuFeatures(nullptr, nullptr), ovkStatusOk);
    // Every x86-64 processor has SSE2; the library's baseline relies on it.
    EXPECT_TRUE(detected & ovkCpuFeatureSSE2);
    EXPECT_TRUE(regs[3] & (1u << 26));  // CPUID.1:EDX.SSE2
    const Ovk64u enabled = ovkGetEnabledCpuFeatures();
    EXPECT_EQ(enabled & ~detected, 0u) << "a feature is enabled that was not detected";
    EXPECT_EQ(enabled, ovkGetEnabledCpuFeatures());
    if (enabled & ovkCpuFeatureAVX512F) {
        EXPECT_TRUE(enabled & ovkCpuFeatureAVX);
    }
}

}  // namespace
