// Scalar types shared by the After Effects host interfaces.
// Our own declarations, name-compatible with the vendor's header of this name.
#pragma once
#include <cstddef>
#include <cstdint>

typedef int32_t A_long;
typedef uint32_t A_u_long;
typedef int16_t A_short;
typedef uint16_t A_u_short;
typedef char A_char;
typedef unsigned char A_u_char;
typedef unsigned char A_Boolean;
typedef double A_FpLong;
typedef float A_FpShort;
typedef intptr_t A_intptr_t;
typedef uint64_t A_u_longlong;
typedef A_u_longlong A_HandleSize;
typedef A_long A_Err;
typedef A_u_short A_UTF16Char;

#pragma pack(push, 8)
typedef struct {
  A_long value;
  A_u_long scale;
} A_Time;

typedef struct {
  A_long num;
  A_u_long den;
} A_Ratio;

typedef struct {
  A_long x, y;
} A_LPoint;
#pragma pack(pop)

enum {
  A_Err_NONE = 0,
  A_Err_GENERIC = 1,
  A_Err_STRUCT = 2,
  A_Err_PARAMETER = 3,
  A_Err_ALLOC = 4,
  A_Err_WRONG_THREAD = 5,
  A_Err_CONST_PROJECT_MODIFICATION = 6,
  A_Err_RESERVED_7 = 7,
  A_Err_RESERVED_8 = 8,
  A_Err_RESERVED_9 = 9,
  A_Err_RESERVED_10 = 10,
  A_Err_RESERVED_11 = 11,
  A_Err_RESERVED_12 = 12,
  A_Err_MISSING_SUITE = 13
};
