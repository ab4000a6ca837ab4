# Warnings are errors everywhere in the project.
function(driftsmear_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX)
  else()
    # Four-character codes ('FXTC', 'PrMr') are part of the host interface.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror -Wno-multichar)
    if(DRIFTSMEAR_SANITIZE)
      # GCC's flow analysis of instrumented code warns where nothing is wrong
      # (restrict, maybe-uninitialized); sanitizer builds look for faults at
      # run time, and the plain build keeps every warning an error.
      target_compile_options(${target} PRIVATE -Wno-error)
    endif()
  endif()
endfunction()
