/*
 * ovk — shared types, status codes and enumerations.
 *
 * Every other public header of the library includes this one. It is plain C
 * (C99 and later) and compiles unchanged as C++.
 */
#ifndef OVK_OVKDEFS_H
#define OVK_OVKDEFS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Enumerations have the size and range of int in C and in C++ alike, so any
 * int32 a caller passes is a valid value to check (and reject). */
#ifdef __cplusplus
#  define OVK_ENUM(name) enum name : int
#else
#  define OVK_ENUM(name) enum name
#endif

/* ------------------------------------------------------------------------
 * Element types. The code in a function name (8u, 16s, 32fc, ...) is the
 * element type of one channel.
 * ---------------------------------------------------------------------- */
typedef unsigned char      Ovk8u;
typedef signed char        Ovk8s;
typedef unsigned short     Ovk16u;
typedef short              Ovk16s;
typedef unsigned int       Ovk32u;
typedef int                Ovk32s;
typedef long long          Ovk64s;
typedef unsigned long long Ovk64u;
typedef float              Ovk32f;
typedef double             Ovk64f;

/* Complex elements: real part first, then imaginary part. */
typedef struct { Ovk16s re; Ovk16s im; } Ovk16sc;
typedef struct { Ovk32s re; Ovk32s im; } Ovk32sc;
typedef struct { Ovk32f re; Ovk32f im; } Ovk32fc;
typedef struct { Ovk64f re; Ovk64f im; } Ovk64fc;

/* ------------------------------------------------------------------------
 * Image records. All fields are signed 32-bit.
 * An image is passed as a pointer to the first pixel of its region of
 * interest (ROI), a row step in BYTES and one OvkiSize per call.
 * ---------------------------------------------------------------------- */
typedef struct { int width; int height; } OvkiSize;
typedef struct { int x; int y; } OvkiPoint;
typedef struct { int x; int y; int width; int height; } OvkiRect;

/* The library's version record (ovkiGetLibVersion). Owned by the library:
 * read it, never free or change it. */
typedef struct {
    int         major;
    int         minor;
    int         majorBuild;
    int         build;
    char        targetCpu[4];  /* processor variant, zero-padded: "mx" */
    const char* Name;
    const char* Version;
    const char* BuildDate;
} OvkLibraryVersion;

/* ------------------------------------------------------------------------
 * Status codes. 0 is success, a negative value an error (nothing was
 * written), a positive value a warning (the result was written).
 * ---------------------------------------------------------------------- */
typedef OVK_ENUM(OvkStatus) {
    /* warnings */
    ovkStatusSizeWarning          =   48, /* resize tile larger than the destination the resize was set up for */
    ovkStatusQuadNoIntersection   =   30, /* mapped quadrangle misses the destination ROI */
    ovkStatusNoIntersection       =   29, /* source ROI outside the source image */
    ovkStatusNotParallelogram     =   28, /* affine vertices are not a parallelogram */
    ovkStatusLnNegArg             =    8, /* logarithm of a negative (or NaN) element */
    ovkStatusLnZeroArg            =    7, /* logarithm of a zero element */
    ovkStatusDivByZero            =    6, /* an element-wise division by zero occurred */
    ovkStatusSqrtNegArg           =    3, /* square root of a negative element */
    ovkStatusNoOperation          =    1, /* nothing to do */
    /* success */
    ovkStatusOk                   =    0,
    /* errors */
    ovkStatusBadArgument          =   -5,
    ovkStatusSizeError            =   -6,
    ovkStatusRangeError           =   -7,
    ovkStatusNullPointer          =   -8,
    ovkStatusNoMemory             =   -9,
    ovkStatusDivByZeroError       =  -10,
    ovkStatusOutOfRange           =  -11,
    ovkStatusDataTypeError        =  -12,
    ovkStatusScaleRangeError      =  -13,
    ovkStatusStepError            =  -14,
    ovkStatusFftOrderError        =  -15,
    ovkStatusFftFlagError         =  -16,
    ovkStatusContextMismatch      =  -17,
    ovkStatusThresholdError       =  -18,
    ovkStatusMomentOrderError     =  -20,
    ovkStatusMirrorFlipError      =  -21,
    ovkStatusInterpolationError   =  -22,
    ovkStatusFirLengthError       =  -26,
    ovkStatusMaskSizeError        =  -33,
    ovkStatusAnchorError          =  -34,
    ovkStatusEpsilonError         =  -36,
    ovkStatusStrideError          =  -37,
    ovkStatusChannelError         =  -47,
    ovkStatusAlphaTypeError       =  -50,
    ovkStatusDivisorError         =  -51,
    ovkStatusNumChannelsError     =  -53,
    ovkStatusCoeffError           =  -56,
    ovkStatusRectError            =  -57,
    ovkStatusQuadError            =  -58,
    ovkStatusZeroMaskError        =  -59,
    ovkStatusChannelOrderError    =  -60,
    ovkStatusLutLevelsError       = -106,
    ovkStatusHistogramLevelsError = -107,
    ovkStatusNotEvenStepError     = -108,
    ovkStatusNoiseRangeError      = -125,
    ovkStatusQualityIndexError    = -210,
    ovkStatusRoundModeError       = -213,
    ovkStatusBorderError          = -225,
    ovkStatusAlgorithmTypeError   = -228,
    ovkStatusModeNotSupported     = -9999
} OvkStatus;

/* ------------------------------------------------------------------------
 * Enumerations shared by several families. All are passed as int32.
 * ---------------------------------------------------------------------- */

/* Rounding of conversions and of Div_Round. */
typedef OVK_ENUM(OvkRoundMode) {
    ovkRndZero      = 0, /* truncate toward zero */
    ovkRndNear      = 1, /* nearest, ties to even */
    ovkRndFinancial = 2  /* nearest, ties away from zero */
} OvkRoundMode;

/* Accuracy hint of conversions and transforms: only ovkAlgHintAccurate
 * selects the accurate path; every other value selects the fast one. */
typedef OVK_ENUM(OvkHintAlgorithm) {
    ovkAlgHintNone     = 0,
    ovkAlgHintFast     = 1,
    ovkAlgHintAccurate = 2
} OvkHintAlgorithm;

/* Mirror axes. The diagonal axes exist only for the out-of-place forms. */
typedef OVK_ENUM(OvkiAxis) {
    ovkAxsHorizontal = 0, /* row y goes to row height-1-y */
    ovkAxsVertical   = 1, /* column x goes to column width-1-x */
    ovkAxsBoth       = 2, /* both of the above */
    ovkAxs45         = 3, /* transpose */
    ovkAxs135        = 4  /* transpose about the other diagonal */
} OvkiAxis;

/* Comparison operators of thresholds and Compare. */
typedef OVK_ENUM(OvkCmpOp) {
    ovkCmpLess      = 0,
    ovkCmpLessEq    = 1,
    ovkCmpEq        = 2,
    ovkCmpGreaterEq = 3,
    ovkCmpGreater   = 4
} OvkCmpOp;

/* Border model: the low four bits are the border type, bits 4..7 say which
 * sides are read from memory around the ROI instead of being synthesised. */
typedef OVK_ENUM(OvkiBorderType) {
    ovkBorderConst       = 0,   /* the border value argument */
    ovkBorderRepl        = 1,   /* nearest edge pixel */
    ovkBorderMirror      = 3,   /* reflection, edge not repeated: -1 reads 1 */
    ovkBorderMirrorR     = 4,   /* reflection, edge repeated: -1 reads 0 */
    ovkBorderInMem       = 6,   /* all outside pixels read from memory */
    ovkBorderInMemTop    = 16,
    ovkBorderInMemBottom = 32,
    ovkBorderInMemLeft   = 64,
    ovkBorderInMemRight  = 128
} OvkiBorderType;

/* Built-in mask sizes: width digit followed by height digit. */
typedef OVK_ENUM(OvkiMaskSize) {
    ovkMskSize1x3 = 13,
    ovkMskSize1x5 = 15,
    ovkMskSize3x1 = 31,
    ovkMskSize3x3 = 33,
    ovkMskSize5x1 = 51,
    ovkMskSize5x5 = 55
} OvkiMaskSize;

/* Element-type selectors of buffer-size queries and initialisations.
 * Each real type is followed by its complex counterpart. */
typedef OVK_ENUM(OvkDataType) {
    ovkUndef = -1,
    ovk1u    = 0,
    ovk8u    = 1,
    ovk8uc   = 2,
    ovk8s    = 3,
    ovk8sc   = 4,
    ovk16u   = 5,
    ovk16uc  = 6,
    ovk16s   = 7,
    ovk16sc  = 8,
    ovk32u   = 9,
    ovk32uc  = 10,
    ovk32s   = 11,
    ovk32sc  = 12,
    ovk32f   = 13,
    ovk32fc  = 14,
    ovk64u   = 15,
    ovk64uc  = 16,
    ovk64s   = 17,
    ovk64sc  = 18,
    ovk64f   = 19,
    ovk64fc  = 20
} OvkDataType;

/* Convolution and template-matching algorithm selector (bits 0..7 of the
 * algorithm argument). The other fields of that argument: */
typedef OVK_ENUM(OvkAlgType) {
    ovkAlgAuto   = 0,
    ovkAlgDirect = 1,
    ovkAlgFFT    = 2
} OvkAlgType;
#define OVK_ALG_MASK        0x000000FF
#define OVK_NORM_NONE       0x00000000 /* bits 8..15: normalisation */
#define OVK_NORM            0x00000100 /* normalised by the energies */
#define OVK_NORM_LEVEL      0x00000200 /* normalised after removing the means */
#define OVK_NORM_MASK       0x0000FF00
#define OVK_ROI_FULL        0x00000000 /* bits 16..23: output extent */
#define OVK_ROI_VALID       0x00010000
#define OVK_ROI_SAME        0x00020000
#define OVK_ROI_MASK        0x00FF0000

/* Interpolation of the resize family. */
typedef OVK_ENUM(OvkiInterpolationType) {
    ovkNearest = 1,
    ovkLinear  = 2,
    ovkCubic   = 6,  /* two-parameter (B, C) cubic */
    ovkSuper   = 8,  /* area average, reduction only */
    ovkLanczos = 16
} OvkiInterpolationType;

/* Interpolation of warps and remap. Distinct from OvkiInterpolationType on
 * purpose: here 6 is Catmull-Rom. */
typedef OVK_ENUM(OvkiInterpolation) {
    ovkInterNearest    = 1,
    ovkInterLinear     = 2,
    ovkInterCubic      = 4,
    ovkInterCatmullRom = 6,
    ovkInterLanczos    = 16
} OvkiInterpolation;
#define ovkInterSmoothEdge ((int)0x80000000) /* flag: smooth the quadrangle edge */

/* Source pixels beyond each side of a tile that a resize kernel reads. */
typedef struct {
    Ovk32u borderLeft;
    Ovk32u borderTop;
    Ovk32u borderRight;
    Ovk32u borderBottom;
} OvkiBorderSize;

/* Resize specification: opaque, lives in caller memory. */
typedef struct OvkiResizeSpec OvkiResizeSpec;

/* Alpha compositing operations; 6..11 for premultiplied sources. */
typedef OVK_ENUM(OvkiAlphaType) {
    ovkAlphaOver        = 0,
    ovkAlphaIn          = 1,
    ovkAlphaOut         = 2,
    ovkAlphaATop        = 3,
    ovkAlphaXor         = 4,
    ovkAlphaPlus        = 5,
    ovkAlphaOverPremul  = 6,
    ovkAlphaInPremul    = 7,
    ovkAlphaOutPremul   = 8,
    ovkAlphaATopPremul  = 9,
    ovkAlphaXorPremul   = 10,
    ovkAlphaPlusPremul  = 11
} OvkiAlphaType;

/* Hints of CopyManaged (the result is that of Copy whatever the hint). */
#define OVK_COPY_TEMPORAL    0 /* the destination will be read again soon */
#define OVK_COPY_NONTEMPORAL 1 /* the destination will not be read again soon */

/* Normalisation flags of the Fourier transforms. */
#define OVK_FFT_DIV_FWD_BY_N 1 /* forward divided by N, inverse not scaled */
#define OVK_FFT_DIV_INV_BY_N 2 /* inverse divided by N, forward not scaled */
#define OVK_FFT_DIV_BY_SQRTN 4 /* both divided by sqrt(N) */
#define OVK_FFT_NODIV_BY_ANY 8 /* neither scaled */

#ifdef __cplusplus
}
#endif

#endif /* OVK_OVKDEFS_H */
