# How test programs are built and registered.
#
# qsl_add_test(<name> [INTERNAL] [PER_TYPE] SOURCES ... [LIBRARIES ...] [TIMEOUT s])
#   INTERNAL  links the library's objects (tests of internals); otherwise the program links the
#             shared library and sees its exports alone
#   PER_TYPE  one CTest test for each of QSL_TEST_TYPES and of QSL_TEST_MODES; otherwise one test with
#             the detected type

# The processor types that run here, and reproducible modes as type:value of QSL_CBWR. The first mode has
# bodies of its own; the others take those of another run, and few shapes. A build with sanitizers runs
# the types whose kernels are instrumented, and one mode.
set(QSL_TEST_TYPES ${QSL_NATIVE_TYPES})
set(QSL_TEST_MODES 2:COMPATIBLE 4:COMPATIBLE)
if(9 IN_LIST QSL_NATIVE_TYPES)
  list(APPEND QSL_TEST_MODES 9:AVX512)
endif()
if(QSL_SANITIZE)
  set(QSL_TEST_TYPES)
  foreach(type level IN ZIP_LISTS QSL_TYPES QSL_TYPE_LEVELS)
    if(level IN_LIST QSL_SANITIZED_LEVELS)
      list(APPEND QSL_TEST_TYPES ${type})
    endif()
  endforeach()
  set(QSL_TEST_MODES 2:COMPATIBLE)
  list(JOIN QSL_SANITIZED_LEVELS "," levels)
  set(QSL_TEST_SETTINGS QSL_TEST_LEVELS=${levels}) # see tests/level1/variants.h
endif()

function(qsl_test_compile_options target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  # Less optimised than the library: most of their time goes into the compiler.
  target_compile_options(${target} PRIVATE -O1 -Wall -Wextra -Werror -ffp-contract=off -msse2
      -mfpmath=sse)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # For the compiler cache; and warnings that GCC 12 gives wrongly at -O1.
    target_compile_options(${target} PRIVATE -fpch-preprocess -Wno-restrict -Wno-array-bounds
        -Wno-stringop-overflow)
  endif()
endfunction()

# The headers of nearly every test program, compiled once.
add_executable(test_headers EXCLUDE_FROM_ALL headers.cpp)
qsl_test_compile_options(test_headers)
target_link_libraries(test_headers PRIVATE GTest::gtest)
target_precompile_headers(test_headers PRIVATE <gtest/gtest.h> <algorithm> <functional> <thread>)

# add_type_test(<name> <suffix> <timeout> <setting>...): one run of a program.
function(add_type_test name suffix timeout)
  add_test(NAME ${name}.${suffix} COMMAND ${name})
  set_tests_properties(${name}.${suffix} PROPERTIES ENVIRONMENT "${ARGN}" TIMEOUT ${timeout})
endfunction()

function(qsl_add_test name)
  cmake_parse_arguments(arg "INTERNAL;PER_TYPE" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  qsl_test_compile_options(${name})
  target_precompile_headers(${name} REUSE_FROM test_headers)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  if(arg_INTERNAL)
    target_link_libraries(${name} PRIVATE qsl_internal)
  else()
    target_link_libraries(${name} PRIVATE qsl)
  endif()
  target_link_libraries(${name} PRIVATE GTest::gtest GTest::gtest_main ${arg_LIBRARIES})
  if(WIN32)
    target_link_options(${name} PRIVATE -static)
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  if(NOT arg_PER_TYPE)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${QSL_TEST_SETTINGS}" TIMEOUT ${arg_TIMEOUT})
    return()
  endif()
  foreach(type IN LISTS QSL_TEST_TYPES)
    add_type_test(${name} type${type} ${arg_TIMEOUT} QSL_DEBUG_CPU_TYPE=${type})
  endforeach()
  set(few_shapes)
  foreach(row IN LISTS QSL_TEST_MODES)
    string(REPLACE ":" ";" row ${row})
    list(POP_FRONT row type mode)
    add_type_test(${name} type${type}.reproducible ${arg_TIMEOUT}
        QSL_DEBUG_CPU_TYPE=${type} QSL_CBWR=${mode} ${few_shapes})
    set(few_shapes QSL_TEST_EMULATED=1)
  endforeach()
endfunction()
