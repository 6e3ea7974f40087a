/* Geometry as JSON, exact to the last bit (docs/files.md describes the documents): all that is
   registered, or one object with what it is built on.

     -1  a null pointer, a size out of range, a text that is no document or breaks a rule of the
         classes
     -2  the room does not do; the number needed was written
     -3  unknown handle
     -4  an exception was caught: the file cannot be read or written, a number is not finite, a
         result is not finite

   and get_last_error names the object and the member, or the path and the reason. A failure
   registers nothing, and leaves an earlier file of the name as it was. */
#ifndef MORVEL_API_C_GEOMETRY_RECORDS_H
#define MORVEL_API_C_GEOMETRY_RECORDS_H

#include "morvel/api/c/types.h"

MORVEL_C_BEGIN

/* Writes all registered points, curves, curves on surfaces and surfaces, with their handles as ids,
   and tells how many; count may be null. The file is written beside the target and renamed when it
   is complete. */
MORVEL_API int write_geometry_json(const char* path, int* count MORVEL_LEN(1));
/* Registers all objects of a file under new handles. mapping gets three numbers an object: its kind
   (MORVEL_CURVES, MORVEL_SURFACES, ...), its id in the file, its new handle; by kind and id. Where
   more than capacity objects are registered in the file the result is -2 and nothing is registered;
   with a capacity of 0 mapping may be null. count may be null. */
MORVEL_API int read_geometry_json(const char* path, int* mapping MORVEL_LEN(3 * capacity),
                                  int capacity, int* count MORVEL_LEN(1));

/* Write a document of the one object, which has its handle as its id, and a terminating zero.
   needed (may be null): the bytes that takes, the zero included. The buffer may be null with a
   capacity of 0. */
MORVEL_API int point_to_json(int point, char* buffer MORVEL_LEN(capacity), int capacity,
                             int* needed MORVEL_LEN(1));
MORVEL_API int curve_to_json(int curve, char* buffer MORVEL_LEN(capacity), int capacity,
                             int* needed MORVEL_LEN(1));
MORVEL_API int curve_on_surface_to_json(int curveOnSurface, char* buffer MORVEL_LEN(capacity),
                                        int capacity, int* needed MORVEL_LEN(1));
MORVEL_API int surface_to_json(int surface, char* buffer MORVEL_LEN(capacity), int capacity,
                               int* needed MORVEL_LEN(1));
/* The object of a document of length bytes, which must register that one and no other, under a new
   handle. What it is built on comes with it and is not registered. */
MORVEL_API int create_point_from_json(const char* text MORVEL_LEN(length), int length);
MORVEL_API int create_curve_from_json(const char* text MORVEL_LEN(length), int length);
MORVEL_API int create_curve_on_surface_from_json(const char* text MORVEL_LEN(length), int length);
MORVEL_API int create_surface_from_json(const char* text MORVEL_LEN(length), int length);

MORVEL_C_END

#endif
