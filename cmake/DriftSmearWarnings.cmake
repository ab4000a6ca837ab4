# Warnings are errors everywhere in the project.
function(driftsmear_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX)
  else()
    # Four-character codes ('FXTC', 'PrMr') are part of the host interface.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Werror -Wno-multichar)
  endif()
endfunction()
