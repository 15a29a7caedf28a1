# The shared library, and a static one of the same objects for tests of internals.

set(QSL_OBJECTS $<TARGET_OBJECTS:qsl_frame>)
foreach(level IN LISTS QSL_LEVELS)
  list(APPEND QSL_OBJECTS $<TARGET_OBJECTS:qsl_kernels_${level}>)
endforeach()

# exports.txt is the one list of exported names: the ELF version script and the .def file follow it.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/exports.txt)
file(STRINGS ${PROJECT_SOURCE_DIR}/exports.txt QSL_EXPORTS REGEX "^[A-Za-z]")
list(JOIN QSL_EXPORTS ";\n    " exports_elf)
file(CONFIGURE OUTPUT qsl.map CONTENT "QSL_1 {\n  global:\n    @exports_elf@;\n  local:\n    *;\n};\n" @ONLY)
list(JOIN QSL_EXPORTS "\n    " exports_def)
file(CONFIGURE OUTPUT qsl.def CONTENT "LIBRARY qsl.dll\nEXPORTS\n    @exports_def@\n" @ONLY)

add_library(qsl SHARED ${QSL_OBJECTS})
add_library(qsl::qsl ALIAS qsl)
target_include_directories(qsl INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(qsl PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
# No C++ runtime library: the file depends on the C library alone.
set_target_properties(qsl PROPERTIES LINKER_LANGUAGE C)

if(WIN32)
  target_sources(qsl PRIVATE ${PROJECT_SOURCE_DIR}/runtime/platform/windows/freestanding.cpp)
  target_link_libraries(qsl PRIVATE qsl_compile_options)
  target_sources(qsl PRIVATE ${PROJECT_BINARY_DIR}/qsl.def)
  set_target_properties(qsl PROPERTIES PREFIX "" IMPORT_PREFIX "lib")
  set_target_properties(qsl PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  # Entry and imports are the library's own: no C runtime start-up code, KERNEL32 alone.
  target_link_options(qsl PRIVATE -nostdlib -Wl,-e,_DllMain@12 -Wl,--dynamicbase -Wl,--nxcompat
      -Wl,--kill-at -Wl,--no-insert-timestamp)
  target_link_libraries(qsl PRIVATE gcc kernel32)
else()
  target_link_options(qsl PRIVATE
      -Wl,--version-script=${PROJECT_BINARY_DIR}/qsl.map -Wl,-Bsymbolic
      -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,text -Wl,--as-needed -Wl,--no-undefined
      -static-libgcc)
  if(QSL_SANITIZE)
    set_target_properties(qsl PROPERTIES LINKER_LANGUAGE CXX)
  endif()
endif()
set_property(TARGET qsl APPEND PROPERTY LINK_DEPENDS ${PROJECT_BINARY_DIR}/qsl.map)

# The interface for Fortran. Module files are a compiler's own: each program compiles the source.
add_library(qsl_fortran INTERFACE)
add_library(qsl::fortran ALIAS qsl_fortran)
set_target_properties(qsl_fortran PROPERTIES EXPORT_NAME fortran)
target_sources(qsl_fortran INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include/qsl/qsl.f90>
    $<INSTALL_INTERFACE:$<INSTALL_PREFIX>/${CMAKE_INSTALL_INCLUDEDIR}/qsl/qsl.f90>)
target_link_libraries(qsl_fortran INTERFACE qsl)

add_library(qsl_internal STATIC EXCLUDE_FROM_ALL ${QSL_OBJECTS})
target_include_directories(qsl_internal PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(qsl_internal PUBLIC QSL_STATIC)
