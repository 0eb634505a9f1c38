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
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet;--warnings-as-errors=*")
  endif()
endfunction()
