/* morvel: a surface-modelling geometry kernel. Every exported function with a C signature.

   Objects live in registries inside the library and are named by integer handles; results come back
   through the caller's arrays; failures are codes below 0, with a text in get_last_error. Each
   header below opens with the rules of its family. C++ programs that want the classes include
   morvel.hpp. */
#ifndef MORVEL_MORVEL_H
#define MORVEL_MORVEL_H

#include "morvel/api/c/batch.h"
#include "morvel/api/c/curve.h"
#include "morvel/api/c/curve_fitting.h"
#include "morvel/api/c/curve_on_surface.h"
#include "morvel/api/c/foundation.h"
#include "morvel/api/c/geometry_records.h"
#include "morvel/api/c/kernel_surface.h"
#include "morvel/api/c/log.h"
#include "morvel/api/c/mesh_files.h"
#include "morvel/api/c/nsided_rbf.h"
#include "morvel/api/c/progress.h"
#include "morvel/api/c/projection.h"
#include "morvel/api/c/registry.h"
#include "morvel/api/c/rolling_ball.h"
#include "morvel/api/c/surface_create.h"
#include "morvel/api/c/surface_edit.h"
#include "morvel/api/c/surface_engine1.h"
#include "morvel/api/c/surface_engine2.h"
#include "morvel/api/c/surface_engine3.h"
#include "morvel/api/c/surface_query.h"
#include "morvel/api/c/trimmed_surface.h"
#include "morvel/api/c/types.h"

#endif
