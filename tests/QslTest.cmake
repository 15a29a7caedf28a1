# How test programs are built and registered.
#
# qsl_add_test(<name> [INTERNAL] [PER_TYPE] SOURCES ... [LIBRARIES ...] [TIMEOUT s])
#   INTERNAL  links the library's objects (tests of internals); otherwise the program links the
#             shared library and sees its exports alone
#   PER_TYPE  one CTest test for each processor type that can run natively, and the reproducible
#             mode for the two lowest; otherwise one test with the detected type
set(QSL_NATIVE_TYPES 2 4 5 6 7)

# Tests of types that this processor lacks are listed by CTest as disabled.
set(QSL_LACKING_TYPES)
file(STRINGS /proc/cpuinfo cpu_flags REGEX "^flags" LIMIT_COUNT 1)
foreach(row IN ITEMS 4:ssse3 5:sse4_2 6:avx 7:avx2)
  string(REPLACE ":" ";" row "${row}")
  list(GET row 0 type)
  list(GET row 1 flag)
  if(NOT "${cpu_flags} " MATCHES " ${flag} ")
    list(APPEND QSL_LACKING_TYPES ${type})
  endif()
endforeach()

function(qsl_add_test name)
  cmake_parse_arguments(arg "INTERNAL;PER_TYPE" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_compile_features(${name} PRIVATE cxx_std_20)
  target_compile_options(${name} PRIVATE -Wall -Wextra -Werror -ffp-contract=off -msse2 -mfpmath=sse)
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
  if(arg_PER_TYPE)
    foreach(type IN LISTS QSL_NATIVE_TYPES)
      add_test(NAME ${name}.type${type} COMMAND ${name})
      set_tests_properties(${name}.type${type} PROPERTIES
          ENVIRONMENT "QSL_DEBUG_CPU_TYPE=${type}" TIMEOUT ${arg_TIMEOUT})
      if(type IN_LIST QSL_LACKING_TYPES)
        set_tests_properties(${name}.type${type} PROPERTIES DISABLED TRUE)
      endif()
    endforeach()
    foreach(type IN ITEMS 2 4)
      add_test(NAME ${name}.type${type}.reproducible COMMAND ${name})
      set_tests_properties(${name}.type${type}.reproducible PROPERTIES
          ENVIRONMENT "QSL_DEBUG_CPU_TYPE=${type};QSL_CBWR=COMPATIBLE" TIMEOUT ${arg_TIMEOUT})
    endforeach()
  else()
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  endif()
endfunction()
