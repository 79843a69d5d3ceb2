# halvard_module(NAME <name> LAYER <n> SOURCES ... [LINKS <modules>] [USES <outside libraries>])
#
# Declares the static library halvard_<name>. LINKS names modules of this project; each must stand in a lower layer,
# and below layer 40 nothing may use a GUI library (platform_desktop, the adapter that needs one, excepted).
# Both rules are checked here, so that a forbidden edge fails the configure step and not a review.
function(halvard_module)
  cmake_parse_arguments(PARSE_ARGV 0 M "" "NAME;LAYER" "SOURCES;LINKS;USES")
  add_library(halvard_${M_NAME} STATIC ${M_SOURCES})
  set_target_properties(halvard_${M_NAME} PROPERTIES HALVARD_LAYER ${M_LAYER})
  target_include_directories(halvard_${M_NAME} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  foreach(link IN LISTS M_LINKS)
    if(NOT TARGET halvard_${link})
      message(FATAL_ERROR "module ${M_NAME} links ${link}, which is not declared before it")
    endif()
    get_target_property(layer halvard_${link} HALVARD_LAYER)
    if(NOT layer LESS M_LAYER)
      message(FATAL_ERROR "module ${M_NAME} (layer ${M_LAYER}) may not link ${link} (layer ${layer})")
    endif()
    target_link_libraries(halvard_${M_NAME} PUBLIC halvard_${link})
  endforeach()
  if(M_LAYER LESS 40 AND NOT M_NAME STREQUAL platform_desktop)
    foreach(library IN LISTS M_USES)
      if(library MATCHES "Qt6::(Gui|Widgets|Svg|WebEngine)")
        message(FATAL_ERROR "module ${M_NAME} (layer ${M_LAYER}) may not use ${library}")
      endif()
    endforeach()
  endif()
  target_link_libraries(halvard_${M_NAME} PUBLIC ${M_USES})
endfunction()

# halvard_executable(NAME <name> SOURCES ... [LINKS <modules>] [USES <outside libraries>])
#
# One of the programs that are installed; the target `programs` builds them all and nothing else.
add_custom_target(programs)
function(halvard_executable)
  cmake_parse_arguments(PARSE_ARGV 0 E "" "NAME" "SOURCES;LINKS;USES")
  add_executable(${E_NAME} ${E_SOURCES})
  target_include_directories(${E_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  list(TRANSFORM E_LINKS PREPEND halvard_)
  target_link_libraries(${E_NAME} PRIVATE ${E_LINKS} ${E_USES})
  install(TARGETS ${E_NAME} RUNTIME)
  add_dependencies(programs ${E_NAME})
endfunction()

# halvard_test(NAME <name> SOURCES ... [LINKS <modules>] [USES ...] [LABELS ...] [TIMEOUT <seconds>] [SERIAL])
#
# One QtTest program. It runs without a display unless its label is "desktop". SERIAL keeps other tests from
# running beside it: for tests that measure the whole machine.
function(halvard_test)
  cmake_parse_arguments(PARSE_ARGV 0 T "SERIAL" "NAME;TIMEOUT" "SOURCES;LINKS;USES;LABELS")
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  add_executable(test_${T_NAME} ${T_SOURCES})
  set_target_properties(test_${T_NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_include_directories(test_${T_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(test_${T_NAME} PRIVATE
    HALVARD_BIN_DIR="${CMAKE_BINARY_DIR}/bin" HALVARD_FIXTURES="${CMAKE_CURRENT_SOURCE_DIR}/fixtures")
  list(TRANSFORM T_LINKS PREPEND halvard_)
  target_link_libraries(test_${T_NAME} PRIVATE ${T_LINKS} ${T_USES} Qt6::Test)
  add_test(NAME ${T_NAME} COMMAND test_${T_NAME})
  set_tests_properties(${T_NAME} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;UBSAN_OPTIONS=print_stacktrace=1")
  if(T_SERIAL)
    set_tests_properties(${T_NAME} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()
