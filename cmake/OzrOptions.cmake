# What gets built, and the flags that every part shares.

if(CMAKE_SOURCE_DIR STREQUAL PROJECT_SOURCE_DIR AND NOT ANDROID)
  set(ozr_whole_project ON)
else()
  set(ozr_whole_project OFF)
endif()
option(OZR_BUILD_TOOLS "Build ozr-pano (needs libjpeg, libpng and CLI11)" ${ozr_whole_project})
option(OZR_BUILD_TESTS "Build the tests (needs GoogleTest's sources)" ${ozr_whole_project})
option(OZR_BUILD_BENCH "Build the benchmarks (needs Google Benchmark; OpenCV is compared with when found)" OFF)
option(OZR_INSTALL "Make rules for cmake --install and CPack" ${PROJECT_IS_TOP_LEVEL})
option(OZR_BUILD_FUZZERS "Build the fuzzers with libFuzzer (clang) instead of the tests that replay their corpora" OFF)
option(OZR_WARNINGS_AS_ERRORS "Stop at the first warning" OFF)
set(OZR_GTEST_SOURCE "/usr/src/googletest" CACHE PATH "GoogleTest's source folder")
set(OZR_CODEC_ROOT "" CACHE PATH
    "Folder with libjpeg and libpng for the target, where they are not the system's own (see scripts/foreign-codecs)")

# Warnings for the project's own targets, not for what it builds of others.
add_library(ozr_warnings INTERFACE)
target_compile_options(ozr_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wcast-align -Wdouble-promotion)
if(OZR_WARNINGS_AS_ERRORS)
  target_compile_options(ozr_warnings INTERFACE -Werror)
endif()
