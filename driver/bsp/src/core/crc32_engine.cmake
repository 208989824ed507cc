# CRC-32 engine as a position-independent static library.
#
# Include this file from a CMakeLists.txt (C++20 already selected) and link
#   bsp_crc32_engine
# into both the shared library and the tests; the engine is internal and its
# symbols are not part of the exported interface.
#
# No -m flags are needed or wanted: the carry-less multiplication code is
# compiled per function with target attributes and chosen at run time, so the
# library still runs on CPUs without those instructions.

add_library(bsp_crc32_engine STATIC
    ${CMAKE_CURRENT_LIST_DIR}/crc32_engine.cpp)
set_target_properties(bsp_crc32_engine PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(bsp_crc32_engine PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_compile_features(bsp_crc32_engine PUBLIC cxx_std_20)
target_compile_options(bsp_crc32_engine PRIVATE -Wall -Wextra)
