# What every target of the house is built with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The build tree is laid out as an installed one: libraries in lib/, implementation libraries in lib/kelvane/.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(KV_MODULE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib/kelvane)

add_library(kv_house INTERFACE)
target_compile_options(kv_house INTERFACE -Wall -Wextra -Wpedantic $<$<BOOL:${KV_WERROR}>:-Werror>)
target_include_directories(kv_house INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include
                                              ${PROJECT_SOURCE_DIR}/kernel32/include)
target_link_options(kv_house INTERFACE -Wl,-z,defs,-z,now,-z,relro)

if(KV_SANITIZE)
  target_compile_options(kv_house INTERFACE -fsanitize=${KV_SANITIZE} -fno-sanitize-recover=all
                                            -fno-omit-frame-pointer)
  target_link_options(kv_house INTERFACE -fsanitize=${KV_SANITIZE})
  # The sanitizers' run-time is the program's; a library leaves its names open.
  set_property(TARGET kv_house PROPERTY INTERFACE_LINK_OPTIONS -fsanitize=${KV_SANITIZE} -Wl,-z,now,-z,relro)
  # In a program of C, too, the libraries' C++ asks for it.
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    target_link_options(kv_house INTERFACE -fsanitize-link-c++-runtime)
  endif()
endif()
if(KV_FUZZ)
  target_compile_options(kv_house INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(KV_COVERAGE)
  target_compile_options(kv_house INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(kv_house INTERFACE --coverage -Wl,-u,kv_coverage_part)
  # Processes that end at once are counted, too.
  add_library(coverage_part STATIC tests/support/coverage/part.cpp)
  add_library(coverage_at_end SHARED tests/support/coverage/at_end.cpp)
  target_link_libraries(coverage_part PUBLIC coverage_at_end)
  target_compile_options(coverage_at_end PRIVATE -fvisibility=default)
  target_link_libraries(kv_house INTERFACE coverage_part)
endif()
