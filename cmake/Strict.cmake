# What our own targets are compiled with; nothing of it reaches a tree that takes this one in.
option(PROJECT_SHARING_WERROR "Warnings are errors" OFF)
option(PROJECT_SHARING_TIDY "Run clang-tidy beside the compiler" OFF)

function(project_sharing_strict target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  # g++ 12 takes the small-string buffer of a moved std::u16string for uninitialised
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    $<$<CXX_COMPILER_ID:Clang>:-Wweak-vtables>)
  if(PROJECT_SHARING_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(PROJECT_SHARING_TIDY)
    # The analyzer does not look into joined sources, and what it looks for in tests the sanitizers find.
    set(tidy_checks "-bugprone-suspicious-include")
    file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
    if(CMAKE_UNITY_BUILD OR folder MATCHES "^(tests|bench|fuzz|host_conformance)")
      string(APPEND tidy_checks ",-clang-analyzer-*")
    endif()
    set_target_properties(${target} PROPERTIES
      CXX_CLANG_TIDY "clang-tidy;--quiet;--warnings-as-errors=*;--checks=${tidy_checks}")
  endif()
endfunction()
