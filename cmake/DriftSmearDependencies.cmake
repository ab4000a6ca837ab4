# Third-party dependencies, all from Debian's packages.
find_package(Threads REQUIRED)
find_package(PkgConfig)

# OpenCL: Khronos headers and the ICD loader (PoCL provides a CPU device).
set(CL_TARGET_OPENCL_VERSION 120)
find_package(OpenCL REQUIRED)
if(TARGET OpenCL::OpenCL)
  target_compile_definitions(OpenCL::OpenCL INTERFACE CL_TARGET_OPENCL_VERSION=120)
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
    target_link_options(${target} PRIVATE -static -static-libgcc -static-libstdc++)
  else()
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
