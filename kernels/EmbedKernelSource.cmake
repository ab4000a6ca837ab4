# Turns the OpenCL kernel text into one self-contained program string.
#
#   cmake -DROOT=<repository root> -DENTRY=kernels/DriftSmear_Kernel.cl
#         -DOUT_TEXT=<combined .cl> -DOUT_SOURCE=<generated .cpp> -P EmbedKernelSource.cmake
#
# Every `#include "kernels/..."` is replaced by the included file's text (each
# file once, as its include guard would), framed by #line directives so that
# the OpenCL compiler's messages name the real file and line. Other includes
# stay where they are: they sit in host or CUDA sections that the OpenCL
# preprocessor skips. The combined text starts by selecting the OpenCL target.
# The generated C++ file defines kDriftSmearKernelSource (zero-terminated) and
# kDriftSmearKernelSourceLength (without the terminator).
cmake_minimum_required(VERSION 3.25)

foreach(var ROOT ENTRY OUT_TEXT OUT_SOURCE)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "EmbedKernelSource.cmake: ${var} is not set")
  endif()
endforeach()

set_property(GLOBAL PROPERTY GF_INLINED_FILES "")

function(count_newlines text out_var)
  string(REGEX MATCHALL "\n" newlines "${text}")
  list(LENGTH newlines count)
  set(${out_var} ${count} PARENT_SCOPE)
endfunction()

function(inline_file relpath out_var)
  set_property(GLOBAL APPEND PROPERTY GF_INLINED_FILES "${relpath}")
  if(NOT EXISTS "${ROOT}/${relpath}")
    message(FATAL_ERROR "EmbedKernelSource.cmake: ${relpath} not found under ${ROOT}")
  endif()
  file(READ "${ROOT}/${relpath}" rest)
  set(result "#line 1 \"${relpath}\"\n")
  set(line 1)
  while(TRUE)
    string(REGEX MATCH "(^|\n)[ \t]*#[ \t]*include[ \t]*\"(kernels/[^\"]+)\"[^\n]*" directive "${rest}")
    if(NOT directive)
      break()
    endif()
    set(included "${CMAKE_MATCH_2}")
    string(FIND "${rest}" "${directive}" position)
    string(LENGTH "${directive}" directive_length)
    string(SUBSTRING "${rest}" 0 ${position} before)
    math(EXPR after_start "${position} + ${directive_length}")
    string(SUBSTRING "${rest}" ${after_start} -1 rest)
    if(directive MATCHES "^\n")
      string(APPEND before "\n")
    endif()
    string(APPEND result "${before}")
    count_newlines("${before}" newlines)
    math(EXPR line "${line} + ${newlines}")
    get_property(done GLOBAL PROPERTY GF_INLINED_FILES)
    if(NOT included IN_LIST done)
      inline_file("${included}" text)
      # The directive's own line ends with the newline that starts `rest`.
      math(EXPR next_line "${line} + 1")
      string(APPEND result "${text}#line ${next_line} \"${relpath}\"")
    endif()
  endwhile()
  string(APPEND result "${rest}")
  if(NOT result MATCHES "\n$")
    string(APPEND result "\n")
  endif()
  set(${out_var} "${result}" PARENT_SCOPE)
endfunction()

inline_file("${ENTRY}" program)
set(program "#define GF_DEVICE_TARGET_OPENCL 1\n${program}")
file(WRITE "${OUT_TEXT}" "${program}")

file(READ "${OUT_TEXT}" hex HEX)
string(LENGTH "${hex}" hex_length)
math(EXPR length "${hex_length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REPEAT "0x[0-9a-f][0-9a-f]," 16 row)
string(REGEX REPLACE "(${row})" "\\1\n" bytes "${bytes}")

file(WRITE "${OUT_SOURCE}"
  "// Generated from ${ENTRY} by kernels/EmbedKernelSource.cmake; do not edit.\n"
  "#include \"kernels/DriftSmear_KernelSource.h\"\n\n"
  "extern const char kDriftSmearKernelSource[] = {\n${bytes}0x00};\n\n"
  "extern const std::size_t kDriftSmearKernelSourceLength = ${length};\n")
