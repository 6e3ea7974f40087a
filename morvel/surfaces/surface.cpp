#include "morvel/surfaces/surface.h"

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/foot_point.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/internal/unit_normal.h"
#include "morvel/surfaces/to_nurbs.h"

namespace trova::geometry {
namespace {

// By contract: the tessellations of a surface are fixed grids.
constexpr int kTessellationCount = 20;
constexpr int kAdaptiveTessellationCount = 10;

constexpr int kClosestPointSamples = 24;
constexpr int kRecommendedCount = 10;

}  // namespace

Surface::~Surface() = default;

ParameterDomain Surface::getParameterDomain() const { return {}; }

bool Surface::isValidParameter(double u, double v) const {
  const ParameterDomain domain = getParameterDomain();
  return domain.uMin <= u && u <= domain.uMax && domain.vMin <= v && v <= domain.vMax;
}

bool Surface::isClosed() const { return false; }
bool Surface::isPeriodicU() const { return false; }
bool Surface::isPeriodicV() const { return false; }

Vector3D Surface::getNormal(double u, double v) const {
  const SurfaceEvaluation at = evaluateDerivatives(u, v, 1);
  return internal::surfaceNormal(at.Su, at.Sv);
}

Vector3D Surface::getTangentU(double u, double v) const { return evaluateDerivatives(u, v, 1).Su; }
Vector3D Surface::getTangentV(double u, double v) const { return evaluateDerivatives(u, v, 1).Sv; }
Vector3D Surface::derivative_u(double u, double v) const { return evaluateDerivatives(u, v, 1).Su; }
Vector3D Surface::derivative_v(double u, double v) const { return evaluateDerivatives(u, v, 1).Sv; }

Vector3D Surface::second_derivative_uu(double u, double v) const {
  return evaluateDerivatives(u, v, 2).Suu;
}

Vector3D Surface::second_derivative_uv(double u, double v) const {
  return evaluateDerivatives(u, v, 2).Suv;
}

Vector3D Surface::second_derivative_vv(double u, double v) const {
  return evaluateDerivatives(u, v, 2).Svv;
}

std::pair<double, double> Surface::get_u_range() const {
  const ParameterDomain domain = getParameterDomain();
  return {domain.uMin, domain.uMax};
}

std::pair<double, double> Surface::get_v_range() const {
  const ParameterDomain domain = getParameterDomain();
  return {domain.vMin, domain.vMax};
}

// By contract: placeholders, not measurements.
double Surface::getGaussianCurvature(double, double) const { return 0.0; }
double Surface::getMeanCurvature(double, double) const { return 0.0; }
std::pair<double, double> Surface::getPrincipalCurvatures(double, double) const {
  return {0.0, 0.0};
}
std::pair<Vector3D, Vector3D> Surface::getPrincipalDirections(double, double) const {
  return {Vector3D::unitX(), Vector3D::unitY()};
}

std::pair<double, double> Surface::getClosestParameter(const Point3D& point) const {
  const FootPoint foot =
      closestFootPoint([this](double u, double v) { return evaluate(u, v); },
                       [this](double u, double v) { return evaluateDerivatives(u, v, 2); },
                       getParameterDomain(), point, kClosestPointSamples, kClosestPointSamples);
  return {foot.u, foot.v};
}

double Surface::getArea(double tolerance) const {
  const SurfaceMesh mesh = tessellate(tolerance);
  const std::vector<std::int32_t> indices = mesh.getTriangulatedIndices();
  double area = 0.0;
  for (std::size_t k = 0; k + 2 < indices.size(); k += 3) {
    const Point3D& corner = mesh.vertices[indices[k]];
    const Vector3D side = mesh.vertices[indices[k + 1]] - corner;
    area += 0.5 * side.cross(mesh.vertices[indices[k + 2]] - corner).magnitude();
  }
  return area;
}

bool Surface::isG0ContinuousWith(const Surface&) const { return false; }
bool Surface::isG1ContinuousWith(const Surface&) const { return false; }
bool Surface::isG2ContinuousWith(const Surface&) const { return false; }

SurfaceMesh Surface::tessellate(double) const {
  return tessellateUniform(kTessellationCount, kTessellationCount);
}

SurfaceMesh Surface::tessellateUniform(int uCount, int vCount) const {
  SurfaceMesh mesh = gridMesh(getParameterDomain(), uCount, vCount);
  for (std::size_t k = 0; k < mesh.parameters.size(); ++k) {
    const Point2D& at = mesh.parameters[k];
    mesh.vertices[k] = evaluate(at.x(), at.y());
    mesh.normals[k] = getNormal(at.x(), at.y());
  }
  return mesh;
}

SurfaceMesh Surface::tessellateAdaptive(double) const {
  return tessellateUniform(kAdaptiveTessellationCount, kAdaptiveTessellationCount);
}

std::shared_ptr<BSplineSurface> Surface::toNurbs(double tolerance) const {
  return defaultToNurbsImplementation(*this, {tolerance, tolerance},
                                      getRecommendedNurbsParameters());
}

bool Surface::isNurbs() const { return false; }

std::pair<int, int> Surface::getRecommendedNurbsParameters() const {
  return {kRecommendedCount, kRecommendedCount};
}

void Surface::setMatrix(const Transform3D& matrix) { pending_.set(matrix); }

void Surface::applyMatrix() {
  pending_.applyWith([this](const Transform3D& matrix) { applyTransformToGeometry(matrix); });
}

const Transform3D& Surface::getMatrix() const { return pending_.get(); }
bool Surface::hasPendingTransform() const { return pending_.isPending(); }
void Surface::resetMatrix() { pending_.reset(); }

}  // namespace trova::geometry
