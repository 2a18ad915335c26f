# Refuses an include that runs upward through the library's layers.
#
#   cmake -DSOURCE_DIR=<top of the repository> -P cmake/CheckLayers.cmake
#
# Every header and source file of the library (include/qorsupport and src,
# test code left out) belongs to the layer of its folder; each "..." include
# of a library header must name a header of the same layer or of one below
# it, in the order the README's layout section gives. Prints each upward
# include and fails when there is one.

set(layers
  "ui seam"      # ui/backend.*
  "frame"        # frame/
  "ui backends"  # ui/headless.*, ui/scripted.*, ui/qt/
  "dialogs"      # dialogs/
  "registry"     # registry/
  "shell"        # shell/
  "procs"        # procs/
  "engine"       # db/engine/ and its backend folders
  "db"           # db/
  "automation")  # automation/

# The layer of a path relative to include/qorsupport or src, or "" for a
# path outside the library's layers.
function(layer_of path out)
  set(layer "")
  if(path MATCHES "^ui/backend\\.")
    set(layer "ui seam")
  elseif(path MATCHES "^ui/")
    set(layer "ui backends")
  elseif(path MATCHES "^db/engine/")
    set(layer "engine")
  elseif(path MATCHES "^(frame|dialogs|registry|shell|procs|db|automation)/")
    set(layer "${CMAKE_MATCH_1}")
  endif()
  set(${out} "${layer}" PARENT_SCOPE)
endfunction()

if(NOT SOURCE_DIR)
  message(FATAL_ERROR "CheckLayers.cmake needs -DSOURCE_DIR=<top of the repository>")
endif()

file(GLOB_RECURSE files RELATIVE "${SOURCE_DIR}"
  "${SOURCE_DIR}/include/qorsupport/*.h"
  "${SOURCE_DIR}/src/*.h" "${SOURCE_DIR}/src/*.cc")

set(upward 0)
set(checked 0)
foreach(file IN LISTS files)
  string(REGEX REPLACE "^(include/qorsupport|src)/" "" path "${file}")
  get_filename_component(name "${path}" NAME)
  if(name MATCHES "test")  # tests and test helpers may use any layer
    continue()
  endif()
  layer_of("${path}" own)
  if(own STREQUAL "")
    continue()
  endif()
  list(FIND layers "${own}" own_rank)
  math(EXPR checked "${checked} + 1")
  file(STRINGS "${SOURCE_DIR}/${file}" includes REGEX "^#include \"")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^#include \"(qorsupport/)?([^\"]+)\".*" "\\2" target "${line}")
    layer_of("${target}" theirs)
    if(theirs STREQUAL "")
      continue()
    endif()
    list(FIND layers "${theirs}" their_rank)
    if(their_rank GREATER own_rank)
      message(STATUS "upward include: ${file} (${own}) includes ${target} (${theirs})")
      math(EXPR upward "${upward} + 1")
    endif()
  endforeach()
endforeach()

if(upward GREATER 0)
  message(FATAL_ERROR "${upward} include(s) run upward through the layers")
endif()
message(STATUS "layers: ${checked} files, no include runs upward")
