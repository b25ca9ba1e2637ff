# The build of WSGATED_LIBC_ONLY (top-level CMakeLists.txt): for a target
# that has a cross compiler and its C library but no Boost, SQLite or engine
# runtime, the parts that need none of them (the value and time
# conversions, the COMTRADE reader) with their tests. GoogleTest is built
# for the target from the sources of Debian's googletest package.
set(WSGATED_GTEST_SOURCE /usr/src/googletest
    CACHE PATH "GoogleTest's sources, built for the target")
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${WSGATED_GTEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest
                 EXCLUDE_FROM_ALL)

include_directories(${PROJECT_SOURCE_DIR})
add_subdirectory(platform)
add_subdirectory(tests/comtrade)

include(GoogleTest)
add_executable(platform_test_element tests/platform/test_element.cc)
target_link_libraries(platform_test_element PRIVATE toolkit_values
                      GTest::gtest_main)
gtest_discover_tests(platform_test_element DISCOVERY_TIMEOUT 60
                     PROPERTIES LABELS platform)
