# One target per layer of the library. A layer is an object library with an explicit source
# list; the `DEPENDS` of a layer are the layers it may include, and nothing else is reachable:
# each layer's headers are found through an include root of its own (a folder in the build tree
# that holds only a link to the layer's folder), which only the layers that link it see. So an
# include of a layer one does not depend on fails the build. The layers combine into the one
# shared BrevView library (src/CMakeLists.txt).

# brevview_add_layer(<target> <folder under src/>
#                    SOURCES <files relative to the folder>...
#                    [PUBLIC_HEADERS <files in include/brevview/ whose classes this layer builds>...]
#                    [DEPENDS <layer targets>...] [LIBS <other libraries>...])
function(brevview_add_layer target folder)
  cmake_parse_arguments(LAYER "" "" "SOURCES;PUBLIC_HEADERS;DEPENDS;LIBS" ${ARGN})
  list(TRANSFORM LAYER_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/src/${folder}/)
  list(TRANSFORM LAYER_PUBLIC_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/include/brevview/)
  add_library(${target} OBJECT ${LAYER_SOURCES} ${LAYER_PUBLIC_HEADERS})

  set(root ${PROJECT_BINARY_DIR}/layers/${target})
  get_filename_component(parent ${root}/${folder} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  if(NOT IS_SYMLINK ${root}/${folder})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${folder} ${root}/${folder} SYMBOLIC)
  endif()
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${root}>)

  target_link_libraries(${target} PUBLIC brevview_public_headers ${LAYER_DEPENDS} PRIVATE ${LAYER_LIBS})
  target_compile_options(${target} PRIVATE ${BREVVIEW_WARNINGS})
  target_compile_definitions(${target} PRIVATE BREVVIEW_LIBRARY)
  # Only what include/brevview/ marks BREVVIEW_EXPORT leaves the shared library.
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
