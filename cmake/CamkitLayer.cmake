# camkit_layer(<target> MODULES <module>... [SEES <module>...])
#
# An object library of the sources of CAMKIT_SOURCES under src/<module>/ for
# each of MODULES, compiled with the public headers and a view of src/ that
# holds only MODULES and SEES (symbolic links under BUILD/layers/<target>/):
# an include of any other module fails to compile.
function(camkit_layer target)
  cmake_parse_arguments(LAYER "" "" "MODULES;SEES" ${ARGN})
  set(view ${PROJECT_BINARY_DIR}/layers/${target})
  file(MAKE_DIRECTORY ${view})
  set(sources "")
  foreach(module IN LISTS LAYER_MODULES LAYER_SEES)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${module} ${view}/${module} SYMBOLIC)
  endforeach()
  foreach(module IN LISTS LAYER_MODULES)
    set(own ${CAMKIT_SOURCES})
    list(FILTER own INCLUDE REGEX "/src/${module}/")
    list(APPEND sources ${own})
  endforeach()
  add_library(${target} OBJECT ${sources})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${view})
  target_compile_definitions(${target} PRIVATE CAMKIT_VERSION_STRING="${PROJECT_VERSION}")
  target_link_libraries(${target} PRIVATE ${CAMKIT_FEATURE_LIBS})
  camkit_warnings(${target})
endfunction()
