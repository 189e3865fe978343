# Strict warnings for the project's own targets; with OMTEXT_WERROR (set in CI)
# every warning fails the build.
function(omtext_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wnon-virtual-dtor
                                           -Woverloaded-virtual -Wpedantic -Wconversion -Wsign-conversion)
  if(OMTEXT_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
