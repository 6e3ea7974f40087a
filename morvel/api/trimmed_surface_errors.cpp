#include "morvel/api/trimmed_surface_errors.h"

#include "morvel/api/internal/trimmed_surface_lookup.h"

namespace trova_internal {
namespace {

// Room taken at load, so that an ordinary text needs no memory at the moment of failure.
constexpr std::size_t kReservedText = 1024;

std::string lastText = [] {
  std::string text;
  text.reserve(kReservedText);
  return text;
}();

/// Cut to the room that there is.
void append(std::string_view text) noexcept {
  lastText.append(text.substr(0, lastText.capacity() - lastText.size()));
}

}  // namespace

const std::string& trimmedSurfaceError() noexcept { return lastText; }

int refuseTrimmed(int code, std::string_view text) noexcept {
  lastText.clear();
  append(text);
  return code;
}

int reportTrimmed(const char* function, const char* what, ExceptionCodes codes) noexcept {
  refuseTrimmed(0, what ? "Exception in " : "Unknown exception in ");
  append(function);
  if (!what) return codes.other;
  append(": ");
  append(what);
  return codes.withText;
}

std::shared_ptr<trova::geometry::Surface> sharedSurface(int handle) {
  const auto* entry = surfaceTable().find(handle);
  return entry ? *entry : nullptr;
}

TrimmedSurfaceOptions optionsOf(const MorvelTrimOptions* options) {
  TrimmedSurfaceOptions result;
  if (!options) return result;
  result.boundaryTolerance = options->boundaryTolerance;
  result.approximationTolerance = options->approximationTolerance;
  result.firstSwitch = options->firstSwitch != 0;
  result.secondSwitch = options->secondSwitch != 0;
  result.thirdSwitch = options->thirdSwitch != 0;
  result.hostValue = options->hostValue;
  return result;
}

const trova::geometry::Surface& untrimmed(const trova::geometry::Surface& surface) {
  const trova::geometry::Surface* at = &surface;
  while (const auto* trimmed = dynamic_cast<const TrimmedSurface*>(at))
    at = trimmed->getBaseSurface().get();
  return *at;
}

std::shared_ptr<const trova::geometry::Surface> untrimmed(
    std::shared_ptr<const trova::geometry::Surface> surface) {
  while (const auto* trimmed = dynamic_cast<const TrimmedSurface*>(surface.get()))
    surface = std::shared_ptr<const trova::geometry::Surface>(trimmed->getBaseSurface());
  return surface;
}

}  // namespace trova_internal
