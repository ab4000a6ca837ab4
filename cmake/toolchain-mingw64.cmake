# Cross-compiles Drift Smear for 64-bit Windows with Debian's mingw-w64.
#
# The POSIX-threads flavour of the compiler is required: the default one has
# no std::thread or std::mutex. Programs run under Wine when CTest needs them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(DRIFTSMEAR_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${DRIFTSMEAR_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${DRIFTSMEAR_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${DRIFTSMEAR_MINGW_TRIPLE}-windres)
set(CMAKE_DLLTOOL ${DRIFTSMEAR_MINGW_TRIPLE}-dlltool)

# Libraries and headers come from the mingw sysroot only, never from the
# Linux system; build tools come from the Linux system.
set(CMAKE_FIND_ROOT_PATH /usr/${DRIFTSMEAR_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything links the GCC runtime, libstdc++ and winpthreads statically, so
# the module and the test programs import only system DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Wine runs the test programs: quietly, and in a prefix of the build's own so
# that a developer's ~/.wine is never touched.
if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  find_program(DRIFTSMEAR_WINE NAMES wine wine64)
  if(DRIFTSMEAR_WINE)
    set(DRIFTSMEAR_WINEPREFIX "${CMAKE_BINARY_DIR}/wineprefix" CACHE PATH
        "Wine prefix the Windows test programs run in")
    set(CMAKE_CROSSCOMPILING_EMULATOR
        /usr/bin/env WINEDEBUG=-all WINEPREFIX=${DRIFTSMEAR_WINEPREFIX} ${DRIFTSMEAR_WINE})
  endif()
endif()
