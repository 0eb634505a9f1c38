# What our own targets are compiled with; nothing of it reaches a tree that takes this one in, whose compiler may warn of
# other things.
option(PROJECT_SHARING_WARNINGS "Turn on the warnings that this tree is free of" ${PROJECT_IS_TOP_LEVEL})
option(PROJECT_SHARING_WERROR "Make these warnings errors" OFF)
option(PROJECT_SHARING_TIDY "Run clang-tidy beside the compiler" OFF)
option(PROJECT_SHARING_HARDENING "Harden optimised builds as Debian's packages are" ${PROJECT_IS_TOP_LEVEL})

set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
if(PROJECT_IS_TOP_LEVEL)
  # One commit gives the same files in whatever folder it is built. Of two that match, g++ takes the last.
  add_compile_options("$<${optimised}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>"
                      "$<${optimised}:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>")
endif()
if(PROJECT_SHARING_HARDENING)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options("$<${optimised}:-fstack-protector-strong;-Wformat;-Werror=format-security>"
                      "$<${optimised}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  add_link_options("$<${optimised}:LINKER:-z,relro,-z,now>")
endif()

function(project_sharing_strict target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  # g++ 12 takes the small-string buffer of a moved std::u16string for uninitialised
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  if(PROJECT_SHARING_WARNINGS)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
      -Wnon-virtual-dtor -Woverloaded-virtual $<$<CXX_COMPILER_ID:Clang>:-Wweak-vtables>
      $<$<BOOL:${PROJECT_SHARING_WERROR}>:-Werror>)
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
