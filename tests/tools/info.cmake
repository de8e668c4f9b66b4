# `ovkimg info` shows the version record and the processor features.
include(${CMAKE_CURRENT_LIST_DIR}/ovkimg_run.cmake)

ovkimg_run(info)
ovkimg_expect_match("version +8\\.1\\.1 \\(r42291\\)" "${OVKIMG_OUTPUT}" "info")
ovkimg_expect_match("major +8\n +minor +1\n +majorBuild +1\n +build +42291\n" "${OVKIMG_OUTPUT}" "info")
ovkimg_expect_match("target CPU +mx" "${OVKIMG_OUTPUT}" "info")
# Every x86-64 processor has SSE2, and the library may always use it.
ovkimg_expect_match("detected +[A-Z0-9 ]* SSE2 " "${OVKIMG_OUTPUT}" "info")
ovkimg_expect_match("enabled +[A-Z0-9 ]* SSE2 " "${OVKIMG_OUTPUT}" "info")

ovkimg_run(help)
ovkimg_expect_match("info +show" "${OVKIMG_OUTPUT}" "help")
ovkimg_expect_match("convert +read" "${OVKIMG_OUTPUT}" "help")
ovkimg_run(--help)
ovkimg_run(help convert)
ovkimg_expect_match("--depth 8\\|16" "${OVKIMG_OUTPUT}" "help convert")
ovkimg_run(convert --help)
ovkimg_expect_match("usage: ovkimg convert" "${OVKIMG_OUTPUT}" "convert --help")
