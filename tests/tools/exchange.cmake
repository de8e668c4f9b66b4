# The mirror, transpose, swap, border, noise and generator operations on
# images of DEPTH bits and CHANNELS channels made from the test image or,
# without DEPTH, on the built-in test image itself (no input files). Each
# operation must write an image of the layout it promises; identities tie the
# operations together.
include(${CMAKE_CURRENT_LIST_DIR}/ovkimg_run.cmake)

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

# different(<a> <b>): the two files differ in their pixels.
function(different a b)
  ovkimg_expect_failure("compare: images differ: " compare ${a} ${b})
endfunction()

if(NOT DEPTH)
  set(layout "512x512 8u C3")
  ovkimg_run(convert -o test.png)
  foreach(axis h v both d45 d135)
    run_op(mirror m-${axis}.png "${layout}" --axis ${axis})
    different(m-${axis}.png test.png)
  endforeach()
  run_op(transpose t.png "${layout}")
  identical(t.png m-d45.png)
  run_op(swap s.png "${layout}" --order 2,1,0)
  different(s.png test.png)
  run_op(border b-replicate.png "532x522 8u C3" --top 5 --left 10)
  run_op(border b-const.png "532x522 8u C3" --top 5 --left 10 --type const --value 255,0,128)
  run_op(border b-wrap.png "532x522 8u C3" --top 5 --left 10 --type wrap)
  run_op(noise n-uniform.png "${layout}" --high 30)
  run_op(noise n-gauss.png "${layout}" --kind gauss --mean 0 --stddev 12 --seed 7)
  different(n-uniform.png test.png)
  run_op(noise same.png "${layout}" --low 0 --high 0)
  identical(same.png test.png)
  # Two-image operations take the mirror image about the vertical axis.
  run_op(sub d1.png "${layout}")
  run_op(sub d2.png "${layout}" test.png m-v.png)
  identical(d1.png d2.png)
  return()
endif()

if(CHANNELS EQUAL 1)
  set(pnm_ext pgm)
elseif(CHANNELS EQUAL 3)
  set(pnm_ext ppm)
else()
  set(pnm_ext png)
endif()

# A: the test image in the layout, made 600 wide by a black border on the
# right, so transposing changes the shape.
ovkimg_run(convert --depth ${DEPTH} --channels ${CHANNELS} -o square.png)
run_op(border a.png "600x512 ${DEPTH}u C${CHANNELS}" square.png --type const --right 88 --left 0)
set(layout "600x512 ${DEPTH}u C${CHANNELS}")
set(turned "512x600 ${DEPTH}u C${CHANNELS}")

# Mirror and transpose
run_op(mirror v.png "${layout}" a.png --axis v)
run_op(mirror vv.png "${layout}" v.png --axis v)
identical(vv.png a.png)                            # v(v(A)) = A
run_op(mirror h.png "${layout}" a.png --axis h)
run_op(mirror hh.png "${layout}" h.png --axis h)
identical(hh.png a.png)                            # h(h(A)) = A
run_op(mirror both.png "${layout}" a.png --axis both)
run_op(mirror hv.png "${layout}" v.png --axis h)
identical(both.png hv.png)                         # both = h(v(A))
run_op(transpose t.png "${turned}" a.png)
run_op(transpose tt.png "${layout}" t.png)
identical(tt.png a.png)                            # T(T(A)) = A
run_op(mirror d45.png "${turned}" a.png --axis d45)
identical(d45.png t.png)                           # d45 = T
run_op(mirror d135.png "${turned}" a.png --axis d135)
run_op(mirror tboth.png "${turned}" t.png --axis both)
identical(d135.png tboth.png)                      # d135 = both(T(A))

# Swap
if(CHANNELS EQUAL 1)
  ovkimg_expect_failure("swap: needs an image of 3 or 4 channels, got 600x512 ${DEPTH}u C1"
    swap a.png --order 2,1,0 -o s.png)
else()
  run_op(swap s.png "${layout}" a.png --order 2,1,0)
  run_op(swap ss.png "${layout}" s.png --order 2,1,0)
  identical(ss.png a.png)                          # swapping back
  run_op(swap i.png "${layout}" a.png --order 0,1,2)
  identical(i.png a.png)                           # the identity order
  if(CHANNELS EQUAL 4)
    run_op(swap ra.png "${layout}" a.png --order 3,1,2,0)
    run_op(swap rara.png "${layout}" ra.png --order 3,1,2,0)
    identical(rara.png a.png)                      # red and alpha swapped back
  endif()
endif()

# Border
run_op(border b0.png "${layout}" a.png --top 0 --left 0)
identical(b0.png a.png)                            # no border: A
foreach(type replicate const wrap)
  run_op(border b-${type}.png "610x530 ${DEPTH}u C${CHANNELS}" a.png --type ${type} --top 9 --bottom 9
    --left 0 --right 10)
endforeach()
run_op(border w0.png "${layout}" a.png --type wrap)
identical(w0.png a.png)                            # through 32 bits and back unchanged

# Noise: nothing added, or one value added
run_op(noise n0.png "${layout}" a.png --high 0)
identical(n0.png a.png)
run_op(noise n5.png "${layout}" a.png --low 5 --high 5)
if(CHANNELS EQUAL 4)
  run_op(addc a5.png "${layout}" a.png --value 5,5,5)   # the alpha is kept
else()
  run_op(addc a5.png "${layout}" a.png --value 5)
endif()
identical(n5.png a5.png)
run_op(noise g.png "${layout}" a.png --kind gauss --stddev 3 --seed 99)
run_op(noise g2.png "${layout}" a.png --kind gauss --stddev 3 --seed 99)
identical(g.png g2.png)

# Generators
run_op(ramp r.png "300x200 ${DEPTH}u C${CHANNELS}" --width 300 --height 200 --depth ${DEPTH} --channels ${CHANNELS})
run_op(jaehne j.${pnm_ext} "300x200 ${DEPTH}u C${CHANNELS}" --width 300 --height 200 --depth ${DEPTH}
  --channels ${CHANNELS})
run_op(mirror jv.${pnm_ext} "300x200 ${DEPTH}u C${CHANNELS}" j.${pnm_ext} --axis v)
identical(jv.${pnm_ext} j.${pnm_ext})              # the zone plate is symmetric
