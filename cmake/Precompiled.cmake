# halvard_precompile(<target> [TEST])
#
# Gives a target the headers most of its kind share, parsed once for all of them: it more than halves a build from
# nothing. The sources still name every header they use; HALVARD_PRECOMPILE=OFF builds without, which also keeps
# clang-tidy able to read the compile commands.
option(HALVARD_PRECOMPILE "Parse the headers most sources share once" ON)

# Sets <result> to every library a target links, its modules' libraries included.
function(halvard_linked_libraries target result)
  get_target_property(libraries ${target} LINK_LIBRARIES)
  if(NOT libraries)
    set(libraries "")
  endif()
  set(all ${libraries})
  foreach(library IN LISTS libraries)
    if(library MATCHES "^halvard_" AND TARGET ${library})
      halvard_linked_libraries(${library} further)
      list(APPEND all ${further})
    endif()
  endforeach()
  list(REMOVE_DUPLICATES all)
  set(${result} ${all} PARENT_SCOPE)
endfunction()

# Declares the library that holds the precompiled headers of one kind of target.
function(halvard_precompiled_headers kind)
  cmake_parse_arguments(PARSE_ARGV 1 P "" "" "HEADERS;USES")
  file(WRITE ${CMAKE_BINARY_DIR}/precompiled/${kind}.cpp "")
  add_library(precompiled_${kind} STATIC ${CMAKE_BINARY_DIR}/precompiled/${kind}.cpp)
  set_target_properties(precompiled_${kind} PROPERTIES AUTOMOC OFF)
  target_link_libraries(precompiled_${kind} PRIVATE ${P_USES})
  target_precompile_headers(precompiled_${kind} PRIVATE ${P_HEADERS})
endfunction()

if(HALVARD_PRECOMPILE)
  # ccache needs it to see through a precompiled header.
  add_compile_options($<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  set(core_headers <QByteArray> <QCoreApplication> <QDebug> <QDir> <QFile> <QHash> <QJsonDocument> <QJsonObject>
      <QObject> <QString> <QStringList> <QTimer> <QVariant> <algorithm> <array> <chrono> <cstdint> <functional> <map>
      <memory> <mutex> <optional> <span> <string> <string_view> <thread> <utility> <variant> <vector>)
  set(widget_headers <QApplication> <QBoxLayout> <QIcon> <QKeyEvent> <QLabel> <QPainter> <QPainterPath> <QPushButton>
      <QScreen> <QWidget>)
  # The folders differ from test to test, which no shared header can; they only serve to find data files that we do not
  # have. Of the network, the test headers only know how to print addresses.
  set(HALVARD_TEST_OPTIONS -UQT_TESTCASE_BUILDDIR -UQT_TESTCASE_SOURCEDIR -UQT_NETWORK_LIB)
  halvard_precompiled_headers(core HEADERS ${core_headers} USES Qt6::Core)
  halvard_precompiled_headers(core_test HEADERS ${core_headers} <QtTest> USES Qt6::Test)
  halvard_precompiled_headers(widgets HEADERS ${core_headers} ${widget_headers} USES Qt6::Widgets)
  halvard_precompiled_headers(widgets_test HEADERS ${core_headers} ${widget_headers} <QtTest> USES Qt6::Widgets Qt6::Test)
  target_compile_options(precompiled_core_test PRIVATE ${HALVARD_TEST_OPTIONS})
  target_compile_options(precompiled_widgets_test PRIVATE ${HALVARD_TEST_OPTIONS})
endif()

function(halvard_precompile target)
  cmake_parse_arguments(PARSE_ARGV 1 P "TEST" "" "")
  halvard_linked_libraries(${target} libraries)
  if(NOT HALVARD_PRECOMPILE OR NOT libraries MATCHES "Qt6::")
    return()
  endif()
  set(kind core)
  if(libraries MATCHES "Qt6::Widgets")
    set(kind widgets)
  endif()
  # What the test headers declare depends on the Qt libraries in use; tests with others parse them on their own.
  if(P_TEST AND (kind STREQUAL widgets OR NOT libraries MATCHES "Qt6::(Gui|Svg)"))
    string(APPEND kind _test)
    target_compile_options(${target} PRIVATE ${HALVARD_TEST_OPTIONS})
  endif()
  target_precompile_headers(${target} REUSE_FROM precompiled_${kind})
endfunction()
