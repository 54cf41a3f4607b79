# One folder, one layer, one object library with declared links. The shared library, the packer, the
# tests and the benches link the same objects.

set(HALVARIN_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual
                      -Wformat=2 -Werror)
if(APPLE)
  # Nobody has seen the warnings of that compiler and its headers yet.
  list(REMOVE_ITEM HALVARIN_WARNINGS -Werror)
endif()

function(halvarin_compile target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(
    ${target} PRIVATE ${HALVARIN_WARNINGS}
                      $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 takes "text" + string in its own library for an overlapping copy (its bug 105651).
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -Wthread-safety)
  endif()
endfunction()

# halvarin_layer(NAME SOURCES ... [DEPENDS LAYER...] [LIBRARIES LIBRARY...])
function(halvarin_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LIBRARIES" ${ARGN})
  set(target halvarin_${name})
  add_library(${target} OBJECT ${ARG_SOURCES})
  halvarin_compile(${target})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  foreach(layer IN LISTS ARG_DEPENDS)
    target_link_libraries(${target} PUBLIC halvarin_${layer})
  endforeach()
  target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES})
  set_target_properties(${target} PROPERTIES HALVARIN_LIBRARIES "${ARG_LIBRARIES}")
endfunction()

# Puts the sensor database into a section of a program's or library's own image.
function(halvarin_embed target)
  if(APPLE)
    get_target_property(container halvarin_container HALVARIN_FILE)
    target_link_options(${target} PRIVATE LINKER:-sectcreate,__TEXT,__sensors_plist,${container})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${container})
    add_dependencies(${target} halvarin_container)
  else()
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:halvarin_embedded>)
  endif()
endfunction()

# Gives a program or library the objects of these layers, their headers and what they link.
function(halvarin_link target)
  foreach(layer IN LISTS ARGN)
    if(layer STREQUAL "embedded")
      halvarin_embed(${target})
      continue()
    endif()
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:halvarin_${layer}>)
    target_include_directories(
      ${target} PRIVATE $<TARGET_PROPERTY:halvarin_${layer},INTERFACE_INCLUDE_DIRECTORIES>)
    get_target_property(libraries halvarin_${layer} HALVARIN_LIBRARIES)
    target_link_libraries(${target} PRIVATE ${libraries})
  endforeach()
endfunction()
