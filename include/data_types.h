/* Fixed-width scalar types of the client API's records and functions. Compiles as C11 and C++20. */
#ifndef ZERVANE_DATA_TYPES_H
#define ZERVANE_DATA_TYPES_H

#include <stdint.h>

typedef int8_t int8;
typedef int16_t int16;
typedef int32_t int32;
typedef int64_t int64;
typedef uint8_t uint8;
typedef uint16_t uint16;
typedef uint32_t uint32;
typedef uint64_t uint64;
typedef float float32;
typedef double float64;

/* A flag in one byte: 0 is false, every other value is true. */
typedef int8_t bool8;

/* An opaque token the size of a pointer. Callers pass it back; they never look inside. */
typedef void* ZR3HANDLE;

#endif
