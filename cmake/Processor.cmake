# What the processor at hand can run natively.
#
# A processor type is the number of a level, as in QSL_DEBUG_CPU_TYPE.
set(QSL_TYPES 2 4 5 6 7 9)
set(QSL_TYPE_LEVELS p4 p4m p4m3 avx avx2 avx512)

# What Linux calls the features of each type.
set(QSL_TYPE_FEATURES_2 sse2)
set(QSL_TYPE_FEATURES_4 ssse3)
set(QSL_TYPE_FEATURES_5 sse4_2)
set(QSL_TYPE_FEATURES_6 avx)
set(QSL_TYPE_FEATURES_7 avx2 fma bmi1 bmi2)
set(QSL_TYPE_FEATURES_9 avx512f avx512dq avx512bw avx512vl)

file(STRINGS /proc/cpuinfo processor_flags REGEX "^flags" LIMIT_COUNT 1)
string(REGEX REPLACE "[ \t]+" ";" processor_flags "${processor_flags}")
set(QSL_NATIVE_TYPES)
set(QSL_NATIVE_LEVELS)
foreach(type level IN ZIP_LISTS QSL_TYPES QSL_TYPE_LEVELS)
  set(lacking ${QSL_TYPE_FEATURES_${type}})
  list(REMOVE_ITEM lacking ${processor_flags})
  if(NOT lacking)
    list(APPEND QSL_NATIVE_TYPES ${type})
    list(APPEND QSL_NATIVE_LEVELS ${level})
  endif()
endforeach()
message(STATUS "Processor types that run here: ${QSL_NATIVE_TYPES}")
