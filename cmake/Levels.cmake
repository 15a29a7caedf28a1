# The instruction-set levels and how their kernels are compiled.
#
# A level is a namespace (qsl::<level>) and a set of compiler flags. Every kernel source is compiled with
# QSL_LEVEL defined to its level's name, and the bodies that it includes land in that namespace.

set(QSL_LEVELS p4 p4m p4m3 avx avx2 avx512 cnr)
# Those with a body of every routine. The reproducible level has bodies only of the routines whose bits
# depend on the alignment at level p4.
set(QSL_FULL_LEVELS p4 p4m p4m3 avx avx2 avx512)

set(QSL_LEVEL_FLAGS_p4 -msse2)
set(QSL_LEVEL_FLAGS_p4m -mssse3)
set(QSL_LEVEL_FLAGS_p4m3 -msse4.2)
set(QSL_LEVEL_FLAGS_avx -mavx)
set(QSL_LEVEL_FLAGS_avx2 -mavx2 -mfma -mbmi -mbmi2 -mlzcnt)
set(QSL_LEVEL_FLAGS_avx512
    -mavx2 -mfma -mbmi -mbmi2 -mlzcnt -mavx512f -mavx512dq -mavx512bw -mavx512vl)
# The reproducible body is shared by the two lowest levels, so it may use SSE2 only.
set(QSL_LEVEL_FLAGS_cnr -msse2)

# Callers may arrive with a stack aligned to 4 bytes only: every function realigns what it needs, and
# the frame keeps 16 bytes for what it calls outside the library.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(QSL_STACK_FLAGS -mpreferred-stack-boundary=4 -mincoming-stack-boundary=2)
else()
  set(QSL_STACK_FLAGS -mstackrealign)
endif()

add_library(qsl_compile_options INTERFACE)
target_compile_features(qsl_compile_options INTERFACE cxx_std_20)
target_include_directories(qsl_compile_options INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_options(qsl_compile_options INTERFACE
    -fvisibility=hidden -fno-exceptions -fno-rtti -fno-threadsafe-statics
    -ffp-contract=off -fno-math-errno -fno-lto -fno-strict-aliasing
    -Wall -Wextra -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wundef)
target_compile_definitions(qsl_compile_options INTERFACE QSL_BUILDING)

# The frame runs before the processor is known: plain i686, no vector instructions at all.
set(QSL_FRAME_FLAGS ${QSL_STACK_FLAGS} -march=i686 -mtune=generic -mno-mmx -mno-sse -mfpmath=387)

# qsl_leave_stack_alone(<source>...): sources of the frame that take the stack as it comes, which saves a
# realignment a call. Everything that they call is the library's own and realigns for itself. (The
# compiler is told that it comes aligned to 8 bytes. It need not be: without vector code nothing depends
# on it. The sanitizers' own frames do.)
function(qsl_leave_stack_alone)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT QSL_SANITIZE)
    set_source_files_properties(${ARGN} TARGET_DIRECTORY qsl_frame
        PROPERTIES COMPILE_OPTIONS "-mpreferred-stack-boundary=2;-mincoming-stack-boundary=3")
  endif()
endfunction()

# qsl_add_entries(<source>...): adds exported routines and their interface functions to the frame.
function(qsl_add_entries)
  target_sources(qsl_frame PRIVATE ${ARGN})
  qsl_leave_stack_alone(${ARGN})
endfunction()

# Kernels call nothing but the library's own functions, so they keep no alignment for a callee, and
# realign only where a vector is spilled. (A double may lie at any address, so 8 bytes are as good as
# there.)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(QSL_KERNEL_STACK_FLAGS -mpreferred-stack-boundary=2 -mincoming-stack-boundary=3)
else()
  set(QSL_KERNEL_STACK_FLAGS ${QSL_STACK_FLAGS})
endif()
set(QSL_KERNEL_FLAGS)
# A loop stays a loop, rather than becoming a call of the C library's memset.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND QSL_KERNEL_FLAGS -fno-tree-loop-distribute-patterns -fno-gnu-unique)
else()
  list(APPEND QSL_KERNEL_FLAGS -fno-builtin)
endif()
# A stride may be any int while only one column is there: products with it wrap, as addresses do.
list(APPEND QSL_KERNEL_FLAGS -fwrapv)
# Loops start on 32 bytes (a matrix product ran at 0.7 of its speed off them). Those of the sources with a
# level's own numbers, which are the hot ones, start on a line of 64 bytes, so that they take as few lines
# as their size allows, wherever the function lies: processors fetch and keep decoded instructions by such
# lines. (Measured: a loop of 44 bytes that adds a vector to another ran at 0.82 of its speed across two
# lines. Loops of 65 to 74 bytes ran alike at 0 and at 32 within a line.) For all sources it would be 6 %
# of the library's text.
list(APPEND QSL_KERNEL_FLAGS -falign-loops=32)
set(QSL_HOT_KERNEL_FLAGS -falign-loops=64)
# A jump table's labels would be symbols of the library, between its functions.
list(APPEND QSL_KERNEL_FLAGS -fno-jump-tables)
list(APPEND QSL_KERNEL_FLAGS -march=i686 -mtune=generic -mfpmath=sse -fomit-frame-pointer)

# qsl_add_kernels(<level> <source>...): adds sources to the objects of one level.
function(qsl_add_kernels level)
  if(NOT TARGET qsl_kernels_${level})
    add_library(qsl_kernels_${level} OBJECT)
    target_link_libraries(qsl_kernels_${level} PRIVATE qsl_compile_options)
    # Instrumented kernels call the sanitizer, which wants an aligned stack.
    if(level IN_LIST QSL_SANITIZED_LEVELS)
      set(special_flags ${QSL_STACK_FLAGS} ${QSL_SANITIZE_KERNEL_FLAGS})
    else()
      set(special_flags ${QSL_KERNEL_STACK_FLAGS})
    endif()
    target_compile_options(qsl_kernels_${level} PRIVATE
        ${special_flags} ${QSL_KERNEL_FLAGS} ${QSL_LEVEL_FLAGS_${level}})
    target_compile_definitions(qsl_kernels_${level} PRIVATE QSL_LEVEL=${level})
    set_target_properties(qsl_kernels_${level} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
  target_sources(qsl_kernels_${level} PRIVATE ${ARGN})
endfunction()

# qsl_add_level_sources(<folder>): <folder>/<level>.cpp for every level that has one: the numbers, and
# where it pays the code, of that level.
function(qsl_add_level_sources folder)
  foreach(level IN LISTS QSL_LEVELS)
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/${level}.cpp)
      qsl_add_kernels(${level} ${folder}/${level}.cpp)
      set_source_files_properties(${folder}/${level}.cpp TARGET_DIRECTORY qsl_kernels_${level}
          PROPERTIES COMPILE_OPTIONS "${QSL_HOT_KERNEL_FLAGS}")
    endif()
  endforeach()
endfunction()

# qsl_add_instances(<source>...): sources that are the same for all levels, compiled once for each.
function(qsl_add_instances)
  foreach(level IN LISTS QSL_FULL_LEVELS)
    qsl_add_kernels(${level} ${ARGN})
  endforeach()
endfunction()
