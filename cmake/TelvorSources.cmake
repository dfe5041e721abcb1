# telvor_collect(<out-var> DIRS <dir>...): the .cpp files below the given folders, tests
# (files ending in _test.cpp) left out. Tests live beside the unit they test.
function(telvor_collect out)
  cmake_parse_arguments(ARG "" "" "DIRS" ${ARGN})
  set(files)
  foreach(dir IN LISTS ARG_DIRS)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*.cpp)
    list(FILTER found EXCLUDE REGEX "_test\\.cpp$")
    list(APPEND files ${found})
  endforeach()
  set(${out} ${files} PARENT_SCOPE)
endfunction()

# telvor_collect_tests(<out-var> DIRS <dir>...): the *_test.cpp files below the folders.
function(telvor_collect_tests out)
  cmake_parse_arguments(ARG "" "" "DIRS" ${ARGN})
  set(files)
  foreach(dir IN LISTS ARG_DIRS)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*_test.cpp)
    list(APPEND files ${found})
  endforeach()
  set(${out} ${files} PARENT_SCOPE)
endfunction()
