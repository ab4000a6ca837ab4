# Third-party dependencies, all from Debian's packages.
find_package(Threads REQUIRED)
find_package(PkgConfig)

# OpenCL: Khronos headers and the ICD loader (PoCL provides a CPU device).
set(CL_TARGET_OPENCL_VERSION 120)
if(MINGW)
  # Debian has no OpenCL package for mingw. The import library of the loader
  # (OpenCL.dll, part of every GPU driver on Windows) is made at build time from
  # our list of its entry points, and the Khronos headers are used from a folder
  # that holds only CL/, so that no other Linux header reaches the mingw build.
  set(DRIFTSMEAR_OPENCL_HEADERS /usr/include/CL CACHE PATH "The Khronos OpenCL headers (the CL folder)")
  if(NOT EXISTS ${DRIFTSMEAR_OPENCL_HEADERS}/cl.h)
    message(FATAL_ERROR "DriftSmear: no OpenCL headers in ${DRIFTSMEAR_OPENCL_HEADERS} (Debian: opencl-headers)")
  endif()
  if(NOT CMAKE_DLLTOOL)
    find_program(CMAKE_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool REQUIRED)
  endif()
  set(opencl_dir ${CMAKE_BINARY_DIR}/opencl)
  file(COPY ${DRIFTSMEAR_OPENCL_HEADERS}/ DESTINATION ${opencl_dir}/include/CL)
  add_custom_command(
    OUTPUT ${opencl_dir}/libOpenCL.dll.a
    COMMAND ${CMAKE_DLLTOOL} --input-def ${CMAKE_CURRENT_LIST_DIR}/OpenCL.def
            --dllname OpenCL.dll --output-lib ${opencl_dir}/libOpenCL.dll.a
    DEPENDS ${CMAKE_CURRENT_LIST_DIR}/OpenCL.def
    COMMENT "Building the OpenCL import library"
    VERBATIM)
  add_custom_target(driftsmear_opencl_import DEPENDS ${opencl_dir}/libOpenCL.dll.a)
  add_library(driftsmear_opencl INTERFACE)
  target_include_directories(driftsmear_opencl SYSTEM INTERFACE ${opencl_dir}/include)
  target_link_libraries(driftsmear_opencl INTERFACE ${opencl_dir}/libOpenCL.dll.a)
  add_dependencies(driftsmear_opencl driftsmear_opencl_import)
  target_compile_definitions(driftsmear_opencl INTERFACE CL_TARGET_OPENCL_VERSION=120)
  add_library(OpenCL::OpenCL ALIAS driftsmear_opencl)
else()
  find_package(OpenCL REQUIRED)
  if(TARGET OpenCL::OpenCL)
    target_compile_definitions(OpenCL::OpenCL INTERFACE CL_TARGET_OPENCL_VERSION=120)
  endif()
endif()

# GoogleTest: Debian's libgtest-dev for the Linux build; a cross build compiles
# it from Debian's sources with the cross compiler.
if(DRIFTSMEAR_TESTS AND CMAKE_CROSSCOMPILING)
  set(DRIFTSMEAR_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest sources for cross builds")
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(${DRIFTSMEAR_GTEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

# stb: Debian ships the implementations compiled into libstb; other toolchains
# (mingw) compile them from one source file of ours.
add_library(driftsmear_stb INTERFACE)
if(NOT WIN32 AND PKG_CONFIG_FOUND)
  pkg_check_modules(STB REQUIRED IMPORTED_TARGET stb)
  target_link_libraries(driftsmear_stb INTERFACE PkgConfig::STB)
else()
  find_path(STB_INCLUDE_DIR stb_image.h PATHS /usr/include/stb NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(driftsmear_stb_impl STATIC ${CMAKE_CURRENT_LIST_DIR}/stb_implementation.c)
  target_include_directories(driftsmear_stb_impl SYSTEM PUBLIC ${STB_INCLUDE_DIR})
  target_link_libraries(driftsmear_stb INTERFACE driftsmear_stb_impl)
endif()

# FFmpeg (optional): video files for the host's media layer.
add_library(driftsmear_ffmpeg INTERFACE)
if(PKG_CONFIG_FOUND AND NOT WIN32)
  pkg_check_modules(FFMPEG IMPORTED_TARGET libavformat libavcodec libswscale libavutil)
  if(FFMPEG_FOUND)
    target_link_libraries(driftsmear_ffmpeg INTERFACE PkgConfig::FFMPEG)
    target_compile_definitions(driftsmear_ffmpeg INTERFACE DRIFTSMEAR_HAVE_FFMPEG=1)
  endif()
endif()

# Platform pieces of the plug-in module.
function(driftsmear_plugin_platform target)
  if(WIN32)
    target_link_libraries(${target} PUBLIC d3d9 shell32)
  else()
    target_link_libraries(${target} PUBLIC ${CMAKE_DL_LIBS})
  endif()
endfunction()

function(driftsmear_module_properties target)
  if(WIN32)
    set_target_properties(${target} PROPERTIES SUFFIX ".aex")
    if(MINGW)
      # The GCC runtime, libstdc++ and winpthreads are linked in, so the module
      # imports only system DLLs.
      target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++)
    endif()
  else()
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
