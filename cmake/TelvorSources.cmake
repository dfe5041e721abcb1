# telvor_collect(<out-var> [TESTS] DIRS <dir>...): the .cpp files below the given folders;
# tests (files ending in _test.cpp, which live beside the unit they test) are left out,
# or, with TESTS, are all that is collected.
function(telvor_collect out)
  cmake_parse_arguments(ARG "TESTS" "" "DIRS" ${ARGN})
  if(ARG_TESTS)
    set(mode INCLUDE)
  else()
    set(mode EXCLUDE)
  endif()
  set(files)
  foreach(dir IN LISTS ARG_DIRS)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*.cpp)
    list(FILTER found ${mode} REGEX "_test\\.cpp$")
    list(APPEND files ${found})
  endforeach()
  set(${out} ${files} PARENT_SCOPE)
endfunction()

# telvor_add_library(<target> NAME <name> MACRO <PREFIX> HEADER <generated header>
#                    INCLUDE <build-tree include root> SOURCES <files>...)
# One of Telvor's libraries: versioned, exported as Telvor::<name>, with its own export
# macro <PREFIX>_API in the generated header (relative to generated/telvor/), static
# define <PREFIX>_STATIC_DEFINE for static builds, and warnings from telvor_warnings.
function(telvor_add_library target)
  cmake_parse_arguments(ARG "" "NAME;MACRO;HEADER;INCLUDE" "SOURCES" ${ARGN})
  add_library(${target} ${ARG_SOURCES})
  add_library(Telvor::${ARG_NAME} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    EXPORT_NAME ${ARG_NAME})
  generate_export_header(${target}
    BASE_NAME ${ARG_MACRO}
    EXPORT_MACRO_NAME ${ARG_MACRO}_API
    EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/generated/telvor/${ARG_HEADER})
  if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(${target} PUBLIC ${ARG_MACRO}_STATIC_DEFINE)
  endif()
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${ARG_INCLUDE}>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:telvor_warnings>)
endfunction()
