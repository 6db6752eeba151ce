#ifndef FMI2_TYPES_PLATFORM_H
#define FMI2_TYPES_PLATFORM_H

/* The types of values and handles, for machines with 32 bits in an int. */

#define fmi2TypesPlatform "default"

typedef void* fmi2Component;            /* an instance */
typedef void* fmi2ComponentEnvironment; /* of the importer */
typedef void* fmi2FMUstate;

typedef unsigned int fmi2ValueReference;
typedef double fmi2Real;
typedef int fmi2Integer;
typedef int fmi2Boolean;
typedef char fmi2Char;
typedef const fmi2Char* fmi2String;
typedef char fmi2Byte;

#define fmi2True 1
#define fmi2False 0

#endif
