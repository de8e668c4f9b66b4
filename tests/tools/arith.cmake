# The arithmetic, logic and shift operations on images of DEPTH bits and
# CHANNELS channels made from the test image, or, without DEPTH, on the
# built-in test image itself (no input files). Each operation must write an
# image of its input's layout; a few identities tie the operations together.
include(${CMAKE_CURRENT_LIST_DIR}/ovkimg_run.cmake)

set(two_image_ops add sub mul div mulscale and or xor)
# <op>|<argument>|...: the one-image operations with the options they need.
set(one_image_ops addc|--value|20 subc|--value|20 mulc|--value|3|--scale|1 divc|--value|3
                  sqrt|--scale|-4 sqr|--scale|8 not shift|--left|1 shift|--right|2)

# run_op(<op> <output> <expected layout> <args...>): runs an operation that
# must succeed and write an image of the layout.
function(run_op op output layout)
  ovkimg_run(${op} ${ARGN} -o ${output})
  ovkimg_expect_match("wrote ${output} \\(${layout}\\)" "${OVKIMG_OUTPUT}" "${op} ${ARGN}")
endfunction()

# identical(<a> <b>): the two files hold the same pixels.
function(identical a b)
  ovkimg_run(compare ${a} ${b})
endfunction()

if(NOT DEPTH)
  # No input files: the test image, and for two images its mirror image.
  set(layout "512x512 8u C3")
  foreach(op ${two_image_ops})
    run_op(${op} ${op}.png "${layout}")
  endforeach()
  foreach(entry ${one_image_ops})
    string(REPLACE "|" ";" parts "${entry}")
    list(POP_FRONT parts op)
    run_op(${op} ${op}.png "${layout}" ${parts})
  endforeach()
  # Dividing by the mirror image meets zero divisors: a warning, no failure.
  ovkimg_run(div -o div.png)
  ovkimg_expect_match("div: warning: library status 6 \\(ovkStatusDivByZero\\)" "${OVKIMG_OUTPUT}" "div")
  ovkimg_expect_failure("divc: library status -10 \\(ovkStatusDivByZeroError\\)" divc --value 0)
  ovkimg_run(convert -o test.png)
  run_op(sub self.png "${layout}" test.png test.png)
  run_op(subc zero.png "${layout}" --value 255)
  identical(self.png zero.png)
  return()
endif()

if(DEPTH EQUAL 16)
  set(max 65535)
else()
  set(max 255)
endif()
set(layout "512x512 ${DEPTH}u C${CHANNELS}")

# A: the test image in the layout; B: derived from A (1.5 A, saturated).
ovkimg_run(convert --depth ${DEPTH} --channels ${CHANNELS} -o a.png)
run_op(mulc b.png "${layout}" a.png --value 3 --scale 1)
if(CHANNELS EQUAL 1)  # and as PGM, a format of its own
  ovkimg_run(convert a.png -o a.pgm)
  ovkimg_run(convert b.png -o b.pgm)
  run_op(add pgm-sum.pgm "${layout}" a.pgm b.pgm --scale 1)
  run_op(add png-sum.png "${layout}" a.png b.png --scale 1)
  identical(pgm-sum.pgm png-sum.png)
endif()

foreach(op ${two_image_ops})
  run_op(${op} ${op}.png "${layout}" a.png b.png)
endforeach()
foreach(entry ${one_image_ops})
  string(REPLACE "|" ";" parts "${entry}")
  list(POP_FRONT parts op)
  if(op STREQUAL "not" AND DEPTH EQUAL 16)
    ovkimg_expect_failure("not: no library function for 16u images of ${CHANNELS} channels? \\(ovkiNot_16u_C"
      not a.png -o not.png)
    if(EXISTS "${WORK_DIR}/not.png")
      message(FATAL_ERROR "not.png was written by a failed command")
    endif()
  else()
    run_op(${op} ${op}.png "${layout}" a.png ${parts})
  endif()
endforeach()

# Identities
run_op(add ba.png "${layout}" b.png a.png)
identical(add.png ba.png)                            # A + B = B + A
run_op(sub self.png "${layout}" a.png a.png)
run_op(subc zero.png "${layout}" a.png --value ${max})
identical(self.png zero.png)                         # A - A = A - max = 0
run_op(sub ab.png "${layout}" a.png b.png)
identical(ab.png self.png)                           # B >= A, so A - B = 0
run_op(xor x.png "${layout}" a.png b.png)
run_op(xor xx.png "${layout}" x.png b.png)
identical(xx.png a.png)                              # (A ^ B) ^ B = A
run_op(and aa.png "${layout}" a.png a.png)
identical(aa.png a.png)                              # A & A = A
run_op(or oo.png "${layout}" a.png a.png)
identical(oo.png a.png)                              # A | A = A
run_op(divc one.png "${layout}" a.png --value 1)
identical(one.png a.png)                             # A / 1 = A
run_op(shift s0.png "${layout}" a.png --left 0)
identical(s0.png a.png)                              # A << 0 = A
run_op(shift s1.png "${layout}" a.png --left ${DEPTH})
identical(s1.png zero.png)                           # A << width = 0
run_op(mulscale ms.png "${layout}" a.png zero.png)
identical(ms.png zero.png)                           # A * 0 / max = 0
run_op(addc max.png "${layout}" a.png --value ${max})
run_op(mulscale ms1.png "${layout}" a.png max.png)
identical(ms1.png a.png)                             # A * max / max = A
if(DEPTH EQUAL 8)
  run_op(not nn.png "${layout}" not.png)
  identical(nn.png a.png)                            # ~~A = A
endif()
