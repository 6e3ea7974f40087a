#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

enum class ValidationSeverity : std::int32_t { Info = 0, Warning = 1, Error = 2, Fatal = 3 };

/// "INFO", "WARNING", "ERROR", "FATAL"; "UNKNOWN" for any other value.
MORVEL_API std::string severityText(ValidationSeverity severity);

struct MORVEL_API ValidationError {
  ValidationSeverity severity = ValidationSeverity::Error;
  std::string check;  ///< "manifold", "orientation", "continuity", "closure", "watertightness"
  std::string message;
  int loop = -1;  ///< its index; -1 for the surface
};

struct MORVEL_API TopologyValidationResult {
  std::vector<ValidationError> errors;

  /// Nothing of severity ERROR or FATAL.
  bool isValid() const;
};

struct MORVEL_API TopologyValidationOptions {
  bool checksManifold = true;  ///< loops cross neither themselves nor each other
  bool checksOrientation = true;
  bool checksContinuity = true;  ///< curves follow each other
  bool checksClosure = true;
  bool checksWatertightness = true;  ///< holes lie in outer loops, loops in the domain
};

struct MORVEL_API TopologyValidationStatistics {
  std::uint64_t validations = 0;
  std::uint64_t errorsFound = 0;
};

/// Judges the loops of a trimmed surface as a whole. Loops of curves are judged by their samples
/// (100 chords a curve), by exact orientation up to rounding. A surface is never changed.
class MORVEL_API TopologyValidator {
 public:
  /// An exception becomes an error "Validation failed with exception: " and its text.
  TopologyValidationResult validateTrimmedSurface(const TrimmedSurface& surface);
  bool isValidTopology(const TrimmedSurface& surface);
  bool hasTopologyErrors(const TrimmedSurface& surface);

  void setOptions(const TopologyValidationOptions& settings) { options_ = settings; }
  const TopologyValidationOptions& getOptions() const { return options_; }
  const TopologyValidationStatistics& getStatistics() const { return statistics_; }
  void clearStatistics() { statistics_ = {}; }

 private:
  TopologyValidationOptions options_;
  TopologyValidationStatistics statistics_;
};

}  // namespace trova::geometry::trimmed_surface
