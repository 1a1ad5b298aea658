# Warnings are errors by default (and always in CI); a packager building with
# a newer compiler can turn that off with -DCAMKIT_WERROR=OFF.
option(CAMKIT_WERROR "Treat compiler warnings as errors" ON)

function(camkit_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(CAMKIT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  # GCC 12 at -O3 reports a false -Wrestrict inside libstdc++'s std::string
  # concatenation (GCC bug 105651).
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
endfunction()
