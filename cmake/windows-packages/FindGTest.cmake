# GoogleTest, built from the sources that Debian installs. It and the tests use the C++ library's threads, which only
# the other flavour of the compilers has; the library under test is the one that ships.
find_program(ORVEX_THREADS_COMPILER_PATH ${ORVEX_THREADS_COMPILER} REQUIRED)
set(CMAKE_CXX_COMPILER ${ORVEX_THREADS_COMPILER_PATH})

set(gtest_folder /usr/src/googletest/googletest)
if(NOT TARGET GTest::gtest)
    if(NOT EXISTS ${gtest_folder})
        message(FATAL_ERROR "${gtest_folder} is missing")
    endif()
    add_library(gtest STATIC EXCLUDE_FROM_ALL ${gtest_folder}/src/gtest-all.cc)
    target_include_directories(gtest SYSTEM PUBLIC ${gtest_folder}/include PRIVATE ${gtest_folder})
    add_library(gtest_main STATIC EXCLUDE_FROM_ALL ${gtest_folder}/src/gtest_main.cc)
    target_link_libraries(gtest_main PUBLIC gtest)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gtest_main ALIAS gtest_main)
endif()
set(GTest_FOUND TRUE)
