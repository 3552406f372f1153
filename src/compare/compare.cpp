// Placeholder definitions so that every user of the interface links; replaced by the
// implementation.
#include <korvantix/compare.hpp>

#include <stdexcept>

namespace korvantix {

namespace {
[[noreturn]] void pending() {
  throw std::logic_error("comparison: not implemented yet");
}
}  // namespace

double distance(const ScalarModel&, const ScalarModel&, const std::vector<double>&) {
  pending();
}
DistanceLocation max_distance(const ScalarModel&, const ScalarModel&, const std::vector<double>&) {
  pending();
}
double distance(const SMatrixSample&, const SMatrixSample&) {
  pending();
}
DistanceLocation max_distance(const SMatrixSample&, const SMatrixSample&) {
  pending();
}
double distance(const SMatrixEvaluator&, const SMatrixEvaluator&, const std::vector<double>&,
                InterpolationType) {
  pending();
}
DistanceLocation max_distance(const SMatrixEvaluator&, const SMatrixEvaluator&,
                              const std::vector<double>&, InterpolationType) {
  pending();
}
SMatrixDifferenceContainer::SMatrixDifferenceContainer(const SMatrixContainer&,
                                                       const SMatrixContainer&) {
  pending();
}
SMatrixDifferenceContainer::SMatrixDifferenceContainer(const char*, const char*) {
  pending();
}
SMatrixEvaluator::Type SMatrixDifferenceContainer::type() const {
  return MIXED;
}
bool SMatrixDifferenceContainer::is_symmetric() const {
  pending();
}
SMatrixEvaluator* SMatrixDifferenceContainer::clone() const {
  pending();
}
SMatrixSample SMatrixDifferenceContainer::evaluate(double, InterpolationType) const {
  pending();
}
std::ostream& operator<<(std::ostream& out, const SMatrixDifferenceContainer&) {
  return out;
}

}  // namespace korvantix
