# Warnings are errors by default (and always in CI); a packager building with
# a newer compiler can turn that off with -DCAMKIT_WERROR=OFF.
option(CAMKIT_WERROR "Treat compiler warnings as errors" ON)

function(camkit_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(CAMKIT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
