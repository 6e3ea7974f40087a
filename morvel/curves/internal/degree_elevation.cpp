#include "morvel/curves/internal/degree_elevation.h"

#include <cstdint>
#include <exception>
#include <stdexcept>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::internal {
namespace {

namespace status = foundation::status;
using foundation::nurbs::SplineRows;

SplineRows elevatedOrReported(const SplineRows& rows, int times) {
  try {
    return foundation::nurbs::elevated(rows, times);
  } catch (const std::exception& fault) {
    status::failure("Degree elevation failed: ", fault.what());
    throw;
  }
}

}  // namespace

SplineRows elevatedWithReport(const SplineRows& rows, int times) {
  SplineRows result = elevatedOrReported(rows, times);
  const std::int64_t expected = foundation::knotCountFor(result.count(), result.degree);
  const std::int64_t got = static_cast<std::int64_t>(result.knots.size());
  if (got != expected) {
    status::failure("Degree elevation failed: Invalid knot count", " Got ", got,
                    " knots, expected ", expected);
    throw std::runtime_error("Degree elevation failed: Invalid knot count");
  }
  status::progress(status::Symbol::None, "    ✅ Degree elevation successful");
  return result;
}

}  // namespace trova::geometry::internal
