# What every target is compiled with.
option(VORLIX_TESTS "Build the tests" ON)
option(VORLIX_BENCH "Build the measurements" OFF)
option(VORLIX_FUZZ "Build the fuzz targets; needs clang and VORLIX_SANITIZE with fuzzer-no-link" OFF)
option(VORLIX_LINT "Test the sources with clang-format and clang-tidy" OFF)
option(VORLIX_WERROR "Treat warnings as errors" ON)
option(VORLIX_COVERAGE "Count how often each line runs" OFF)
set(VORLIX_SANITIZE "" CACHE STRING "Sanitizers, such as address,undefined")

add_library(vorlix_options INTERFACE)
target_compile_features(vorlix_options INTERFACE cxx_std_20)
target_compile_options(vorlix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wmissing-declarations -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wformat=2
  # g++ 12 sees overlaps in std::string's own code where there are none.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  # Traces and messages name source files from the root of the project.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
if(VORLIX_WERROR)
  target_compile_options(vorlix_options INTERFACE -Werror)
endif()
if(VORLIX_SANITIZE)
  target_compile_options(vorlix_options INTERFACE -fsanitize=${VORLIX_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all
    # What the sanitizers add hides from g++ that std::regex sets its states.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_compile_definitions(vorlix_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(vorlix_options INTERFACE -fsanitize=${VORLIX_SANITIZE})
endif()
if(VORLIX_COVERAGE)
  target_compile_options(vorlix_options INTERFACE --coverage -fprofile-abs-path -fprofile-update=atomic)
  target_link_options(vorlix_options INTERFACE --coverage)
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()
