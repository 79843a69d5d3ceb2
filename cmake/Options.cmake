# Compiler, linker and sanitizer settings shared by every target.

set(HALVARD_SANITIZE "" CACHE STRING "Sanitizers to build with, comma separated (address,undefined or thread)")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# One kind of code for libraries, programs and tests, so that precompiled headers serve all of them.
add_compile_options(-pthread)
set(CMAKE_AUTOMOC ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

find_program(MOLD_PROGRAM mold)
find_program(LLD_PROGRAM ld.lld)
if(MOLD_PROGRAM)
  add_link_options(-fuse-ld=mold)
elseif(LLD_PROGRAM)
  add_link_options(-fuse-ld=lld)
endif()

# Debug information for stacks and lines; the full kind doubles build and link time and serves nobody here.
string(REPLACE "-g" "-g1" CMAKE_CXX_FLAGS_DEBUG "${CMAKE_CXX_FLAGS_DEBUG}")

add_compile_definitions(HALVARD_VERSION="${PROJECT_VERSION}")
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fno-omit-frame-pointer)
add_compile_definitions(QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH
                        QT_DISABLE_DEPRECATED_BEFORE=0x060400)

if(HALVARD_SANITIZE)
  add_compile_options(-fsanitize=${HALVARD_SANITIZE} -Og)
  add_link_options(-fsanitize=${HALVARD_SANITIZE})
  if(HALVARD_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
