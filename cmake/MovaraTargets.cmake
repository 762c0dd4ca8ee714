# Compiler settings of the whole tree and the few kinds of target that it is made of.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Binaries find each other relative to themselves, so that a build tree can be moved.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# The client bundle: program, shared libraries and plug-ins where an installed one has them.
set(MOVARA_APP_CONTENTS ${PROJECT_BINARY_DIR}/meeting.app/Contents)
include(GNUInstallDirs)
set(MOVARA_APP_INSTALLED ${CMAKE_INSTALL_LIBDIR}/movara/meeting.app/Contents)

add_library(movara_settings INTERFACE)
target_include_directories(movara_settings INTERFACE ${PROJECT_SOURCE_DIR}
                                                     ${PROJECT_SOURCE_DIR}/include)
target_compile_options(
  movara_settings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            # A name may hide one of a file that it is compiled with.
            $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-shadow>
            -Wformat=2
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wold-style-cast
            -Wcast-qual
            # Clang's also warns of conversions that are written out.
            $<$<CXX_COMPILER_ID:GNU>:-Wdouble-promotion>
            -Wimplicit-fallthrough
            $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
            -Werror)
# Clang's sanitizers are in the program only, and libraries find them there.
if(NOT (MOVARA_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
  target_link_options(movara_settings INTERFACE -Wl,-z,defs)
endif()
if(MOVARA_SANITIZE)
  target_compile_options(movara_settings INTERFACE -fsanitize=${MOVARA_SANITIZE}
                                                   -fno-omit-frame-pointer
                                                   -fno-sanitize-recover=all)
  # Clang's reads an object through a pipe, which cannot be had when no descriptor is left.
  target_compile_options(movara_settings INTERFACE $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=vptr>)
  # Undefined behaviour is looked for in the product, and GoogleTest's templates are not optimized.
  set(checks "$<BOOL:$<TARGET_PROPERTY:MOVARA_CHECKS>>")
  target_compile_options(movara_settings INTERFACE $<${checks}:-O0> $<${checks}:-fno-sanitize=undefined>)
  target_link_options(movara_settings INTERFACE -fsanitize=${MOVARA_SANITIZE})
endif()

# A shared library in the client bundle's frameworks folder.
function(movara_framework name)
  add_library(${name} SHARED ${ARGN})
  target_link_libraries(${name} PRIVATE movara_settings)
  target_include_directories(
    ${name} INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/movara>)
  # The headers need it of whoever links the library.
  target_compile_features(${name} INTERFACE cxx_std_20)
  set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                                           ${MOVARA_APP_CONTENTS}/Frameworks
                                           INSTALL_RPATH "$ORIGIN")
endfunction()

# A library beside the frameworks, which one of them loads when it is needed.
function(movara_part name)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE movara_settings)
  set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                                           ${MOVARA_APP_CONTENTS}/Frameworks)
endfunction()

# A plug-in bundle NAME.bundle whose code exports what the version script EXPORTS lists.
function(movara_bundle name)
  cmake_parse_arguments(ARG "" "EXPORTS" "SOURCES" ${ARGN})
  add_library(${name}_bundle MODULE ${ARG_SOURCES})
  target_link_libraries(${name}_bundle PRIVATE movara_settings)
  # A bundle's few thread-local bytes fit into what the C library sets aside for modules that are
  # loaded later: reaching them takes no call, and leak checkers find them.
  target_compile_options(${name}_bundle PRIVATE -ftls-model=initial-exec)
  target_link_options(${name}_bundle PRIVATE -Wl,--version-script=${ARG_EXPORTS})
  set_target_properties(
    ${name}_bundle
    PROPERTIES OUTPUT_NAME ${name}
               PREFIX ""
               SUFFIX ""
               LINK_DEPENDS ${ARG_EXPORTS}
               LIBRARY_OUTPUT_DIRECTORY
               ${MOVARA_APP_CONTENTS}/PlugIns/${name}.bundle/Contents/Linux
               INSTALL_RPATH "$ORIGIN/../../../../Frameworks")
endfunction()

# Compiles a target's files a dozen at a time: most of a build's time goes into the headers that they share.
# A debug build takes them singly, so that a file that leans on its neighbour is found.
function(movara_compile_together name)
  if(NOT CMAKE_BUILD_TYPE STREQUAL Debug)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  endif()
endfunction()

# What a target checks with is not what is checked.
function(movara_checks name)
  set_target_properties(${name} PROPERTIES MOVARA_CHECKS ON)
  if(MOVARA_SANITIZE)
    movara_compile_together(${name})
  endif()
endfunction()

# A test program; every case becomes a CTest test.
function(movara_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE movara_settings ${ARG_LIBRARIES} GTest::gmock_main)
  if(ARG_DEPENDS)
    add_dependencies(${name} ${ARG_DEPENDS})
  endif()
  movara_checks(${name})
  # Nobody waits for a test's own code, but everybody for its compiler.
  target_compile_options(${name} PRIVATE -O0)
  movara_compile_together(${name})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
