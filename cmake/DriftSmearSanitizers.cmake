# Sanitizer builds: DRIFTSMEAR_SANITIZE lists the GCC/Clang sanitizers to build
# every C and C++ target with ("address,undefined" or "thread"; empty for
# none). The CUDA kernels are left out of such builds.
set(DRIFTSMEAR_SANITIZE "" CACHE STRING "Sanitizers for every C/C++ target: address,undefined or thread")
if(DRIFTSMEAR_SANITIZE)
  if(MSVC)
    message(FATAL_ERROR "DRIFTSMEAR_SANITIZE is for GCC and Clang builds")
  endif()
  set(driftsmear_sanitize_flags -fsanitize=${DRIFTSMEAR_SANITIZE} -fno-omit-frame-pointer)
  if(DRIFTSMEAR_SANITIZE MATCHES "undefined")
    # An undefined-behaviour report fails the test that caused it.
    list(APPEND driftsmear_sanitize_flags -fno-sanitize-recover=undefined)
  endif()
  add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:${driftsmear_sanitize_flags}>")
  add_link_options(-fsanitize=${DRIFTSMEAR_SANITIZE})
endif()
