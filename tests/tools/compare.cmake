# `ovkimg compare` tells equal images from different ones.
include(${CMAKE_CURRENT_LIST_DIR}/ovkimg_run.cmake)

ovkimg_run(convert -o colour.png)
ovkimg_run(convert colour.png --channels 1 -o gray.png)
ovkimg_run(convert gray.png --channels 3 -o gray3.png)
ovkimg_run(convert colour.png --depth 16 -o colour16.png)
ovkimg_run(convert colour16.png --depth 8 -o colour8.png)

ovkimg_run(compare colour.png colour8.png)  # 8 -> 16 -> 8 bits is exact
ovkimg_expect_failure(
  "compare: images differ: [0-9]+ samples by more than 0, largest difference [0-9]+, first at x=[0-9]+ y=[0-9]+ channel [0-2]"
  compare colour.png gray3.png)
ovkimg_run(compare --tolerance 255 colour.png gray3.png)
ovkimg_expect_match("equal within tolerance" "${OVKIMG_OUTPUT}" "compare --tolerance")
ovkimg_expect_failure("images differ in layout: 512x512 8u C3 and 512x512 8u C1" compare colour.png gray.png)
ovkimg_expect_failure("images differ in layout: 512x512 8u C3 and 512x512 16u C3" compare colour.png colour16.png)
