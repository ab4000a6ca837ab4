# Warnings are on everywhere in the project. They are errors where we want to
# hear of them first (scripts/test.sh, CI and the presets it uses): another
# compiler version or an optimisation level we do not test may warn where ours
# does not, and that must not stop someone building a Release themselves.
option(DRIFTSMEAR_WERROR "Treat compiler warnings as errors" OFF)

function(driftsmear_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
    if(DRIFTSMEAR_WERROR)
      target_compile_options(${target} PRIVATE /WX)
    endif()
  else()
    # Four-character codes ('FXTC', 'PrMr') are part of the host interface.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-multichar)
    # GCC's flow analysis of sanitizer-instrumented code warns where nothing
    # is wrong (restrict, maybe-uninitialized); sanitizer builds look for
    # faults at run time, so their warnings stay warnings.
    if(DRIFTSMEAR_WERROR AND NOT DRIFTSMEAR_SANITIZE)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()
