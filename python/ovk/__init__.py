"""The ovk image library from Python (ctypes and numpy), generated at import
from the library's API description.

Low level: every export by name with its C signature; it returns what C
returns (a status is a plain int): ovk.lib.ovkiAdd_8u_C1RSfs(...), or
ovk.raw("ovkiAdd_8u_C1RSfs"). Enumerations are IntEnum classes (ovk.OvkiAxis),
constants are attributes (ovk.OVK_ROI_FULL).

Array level: one function per family (Add -> ovk.add, AddC -> ovk.add_c,
And -> ovk.and_), following these rules:

- Images go positionally in the order of the C parameters: ovk.sub(a, b) is
  b - a and ovk.div(a, b) is b / a, as in C. The first image's dtype and
  channels pick the member: (h, w) or (h, w, 1) is C1, (h, w, 3) C3,
  (h, w, 4) C4, or AC4 with ac4=True or when there is no C4 member (alpha
  then starts as the first source's). A list of 2-D arrays is a planar image.
  dtype= picks a conversion's destination type, layout= a mixed layout
  ("C3P3"), mask= the masked member.
- Other parameters are keywords: the C name or its snake_case form, with the
  aliases scale (scaleFactor, default 0), axis (flip), round_mode and
  dst_size (dstRoiSize, as (height, width)). A per-channel array takes a
  sequence or one value for all; an enumeration its IntEnum, an int or a
  unique prefix of the member's name (axis="v" is ovkAxsVertical).
- Arrays whose rows are a positive step apart and whose pixels are packed
  (slices included) pass without a copy; others are copied. out= receives
  the result (through a copy if it cannot be addressed); out being the last
  image selects the in-place member.
- The result is the destination image, then what comes back through
  pointers (counts, a threshold, the updated seed).
- A negative status raises ovk.Error, a positive one warns with
  ovk.StatusWarning (the result is still returned).

OVK_LIBRARY and OVK_API_JSON override the library and description found.
"""

from ._errors import Error, StatusWarning
from ._lib import CONSTANTS, ENUMS, OvkiSize, description, lib, raw
from ._numpy import family_functions

globals().update(ENUMS)
globals().update(CONSTANTS)
_families = family_functions()
globals().update(_families)

__all__ = ["Error", "StatusWarning", "OvkiSize", "description", "lib", "raw",
           *ENUMS, *CONSTANTS, *_families]
