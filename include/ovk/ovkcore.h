/*
 * ovk core library (libovkcore): aligned memory and processor features.
 */
#ifndef OVK_OVKCORE_H
#define OVK_OVKCORE_H

#include <ovk/ovkdefs.h>

#if defined(__GNUC__)
#  define OVK_CORE_API __attribute__((visibility("default")))
#else
#  define OVK_CORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------
 * Processor feature bits, as reported by ovkGetCpuFeatures and
 * ovkGetEnabledCpuFeatures (a 64-bit mask).
 * ---------------------------------------------------------------------- */
#define ovkCpuFeatureMMX           (1ULL << 0)
#define ovkCpuFeatureSSE           (1ULL << 1)
#define ovkCpuFeatureSSE2          (1ULL << 2)
#define ovkCpuFeatureSSE3          (1ULL << 3)
#define ovkCpuFeatureSSSE3         (1ULL << 4)
#define ovkCpuFeatureMOVBE         (1ULL << 5)
#define ovkCpuFeatureSSE41         (1ULL << 6)
#define ovkCpuFeatureSSE42         (1ULL << 7)
#define ovkCpuFeatureAVX           (1ULL << 8)  /* enabled only with OS support of YMM state */
#define ovkCpuFeatureAES           (1ULL << 9)
#define ovkCpuFeaturePCLMULQDQ     (1ULL << 10)
#define ovkCpuFeatureRDRAND        (1ULL << 11)
#define ovkCpuFeatureF16C          (1ULL << 12)
#define ovkCpuFeatureAVX2          (1ULL << 13)
#define ovkCpuFeatureBMI1          (1ULL << 14)
#define ovkCpuFeatureBMI2          (1ULL << 15)
#define ovkCpuFeatureLZCNT         (1ULL << 16)
#define ovkCpuFeatureADX           (1ULL << 17)
#define ovkCpuFeatureRDSEED        (1ULL << 18)
#define ovkCpuFeatureSHA           (1ULL << 19)
#define ovkCpuFeatureFMA           (1ULL << 20)
#define ovkCpuFeaturePOPCNT        (1ULL << 21)
#define ovkCpuFeatureAVX512F       (1ULL << 22) /* AVX-512 bits: enabled only with OS support of ZMM state */
#define ovkCpuFeatureAVX512CD      (1ULL << 23)
#define ovkCpuFeatureAVX512BW      (1ULL << 24)
#define ovkCpuFeatureAVX512DQ      (1ULL << 25)
#define ovkCpuFeatureAVX512VL      (1ULL << 26)
#define ovkCpuFeatureAVX512IFMA    (1ULL << 27)
#define ovkCpuFeatureAVX512VBMI    (1ULL << 28)
#define ovkCpuFeatureAVX512VBMI2   (1ULL << 29)
#define ovkCpuFeatureAVX512VNNI    (1ULL << 30)
#define ovkCpuFeatureAVX512BITALG  (1ULL << 31)
#define ovkCpuFeatureAVX512VPOPCNT (1ULL << 32)
#define ovkCpuFeatureAVX512FP16    (1ULL << 33)
#define ovkCpuFeatureGFNI          (1ULL << 34)
#define ovkCpuFeatureVAES          (1ULL << 35)
#define ovkCpuFeatureVPCLMULQDQ    (1ULL << 36)
#define ovkCpuFeatureAVXVNNI       (1ULL << 37)
#define ovkCpuFeatureXSAVE         (1ULL << 38)
#define ovkCpuFeatureOSXSAVE       (1ULL << 39)
#define ovkCpuFeatureCX16          (1ULL << 40) /* CMPXCHG16B */
#define ovkCpuFeatureHYPERVISOR    (1ULL << 41) /* running under a hypervisor */

/* Allocates length bytes aligned to 64 bytes. Returns null when length < 1
 * or when memory is exhausted. Release with ovkFree. */
OVK_CORE_API void* ovkMalloc(int length);

/* Releases a block from ovkMalloc. Null is allowed and ignored. */
OVK_CORE_API void ovkFree(void* ptr);

/* Detects the processor. When pFeaturesMask is not null it receives the
 * features the processor has (ovkCpuFeature... bits); when pCpuidInfoRegs is
 * not null it receives EAX, EBX, ECX, EDX of CPUID leaf 1. Either pointer may
 * be null. Always returns ovkStatusOk. */
OVK_CORE_API OvkStatus ovkGetCpuFeatures(Ovk64u* pFeaturesMask, Ovk32u pCpuidInfoRegs[4]);

/* The features the library may use: the detected ones, less the vector
 * extensions whose register state the operating system does not save. */
OVK_CORE_API Ovk64u ovkGetEnabledCpuFeatures(void);

#ifdef __cplusplus
}
#endif

#endif /* OVK_OVKCORE_H */
