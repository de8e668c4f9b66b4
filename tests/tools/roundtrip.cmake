# The test image with DEPTH bits per sample and CHANNELS channels, written
# as PNG and, when the format holds the channels, as PGM/PPM/PNM, then read
# back and written again: every copy has the same pixels.
include(${CMAKE_CURRENT_LIST_DIR}/ovkimg_run.cmake)

set(layout "512x512 ${DEPTH}u C${CHANNELS}")
if(CHANNELS EQUAL 1)
  set(pnm_ext pgm)
  set(pnm_header "P5\n512 512\n")
elseif(CHANNELS EQUAL 3)
  set(pnm_ext ppm)
  set(pnm_header "P6\n512 512\n")
endif()
if(DEPTH EQUAL 16)
  string(APPEND pnm_header "65535\n")
else()
  string(APPEND pnm_header "255\n")
endif()

# roundtrip(<name>): <name>.png -> PNG -> PGM/PPM -> PNM -> PNG, each copy
# compared with the first.
function(roundtrip name)
  ovkimg_run(convert ${name}.png -o ${name}-b.png)
  ovkimg_expect_match("wrote ${name}-b.png \\(${layout}\\)" "${OVKIMG_OUTPUT}" "convert ${name}.png")
  set(copies ${name}-b.png)
  if(pnm_ext)  # PGM and PPM hold no alpha
    ovkimg_run(convert ${name}.png -o ${name}-c.${pnm_ext})
    ovkimg_file_starts_with(${name}-c.${pnm_ext} "${pnm_header}")
    ovkimg_run(convert ${name}-c.${pnm_ext} -o ${name}-d.pnm)
    ovkimg_file_starts_with(${name}-d.pnm "${pnm_header}")
    ovkimg_run(convert ${name}-d.pnm -o ${name}-e.png)
    list(APPEND copies ${name}-c.${pnm_ext} ${name}-d.pnm ${name}-e.png)
  endif()
  foreach(copy ${copies})
    ovkimg_run(compare ${name}.png ${copy})
    ovkimg_expect_match("identical: ${layout}" "${OVKIMG_OUTPUT}" "compare ${name}.png ${copy}")
  endforeach()
endfunction()

ovkimg_run(convert --depth ${DEPTH} --channels ${CHANNELS} -o test.png)
ovkimg_expect_match("wrote test.png \\(${layout}\\)" "${OVKIMG_OUTPUT}" "convert")

# PNG header: bit depth and colour type (0 gray, 2 RGB, 6 RGBA) of IHDR.
set(colour_type_1 "00")
set(colour_type_3 "02")
set(colour_type_4 "06")
if(DEPTH EQUAL 16)
  set(expected "10${colour_type_${CHANNELS}}")
else()
  set(expected "08${colour_type_${CHANNELS}}")
endif()
file(READ "${WORK_DIR}/test.png" ihdr OFFSET 24 LIMIT 2 HEX)
if(NOT ihdr STREQUAL expected)
  message(FATAL_ERROR "test.png: bit depth and colour type ${ihdr}, expected ${expected}")
endif()

roundtrip(test)

if(CHANNELS EQUAL 3 AND pnm_ext)
  ovkimg_run(convert --depth ${DEPTH} -o direct.pnm)  # the test image straight to PNM
  ovkimg_run(compare test.png direct.pnm)
endif()

if(DEPTH EQUAL 16)
  # 16-bit samples made from 8-bit ones are multiples of 257, whose two bytes
  # are equal; the luma of 16-bit RGB is not, so a byte-order mistake shows.
  ovkimg_run(convert --depth 16 -o rgb16.png)
  ovkimg_run(convert rgb16.png --channels 1 -o luma16.png)
  ovkimg_run(convert luma16.png --channels ${CHANNELS} -o luma.png)
  roundtrip(luma)
endif()
