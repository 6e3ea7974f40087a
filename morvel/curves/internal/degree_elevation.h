#pragma once

#include "morvel/foundation/spline_rows.h"

namespace trova::geometry::internal {

/// `foundation::nurbs::elevated`, its outcome checked and printed.
/// @throws what that throws; std::runtime_error where the knots do not fit the points
foundation::nurbs::SplineRows elevatedWithReport(const foundation::nurbs::SplineRows& rows,
                                                 int times);

}  // namespace trova::geometry::internal
