#include <korvantix/compare.hpp>
#include <korvantix/container.hpp>
#include <korvantix/evaluator.hpp>
#include <korvantix/model.hpp>

#include <ostream>

namespace korvantix {

std::ostream& operator<<(std::ostream& out, const SMatrixDifferenceContainer& d) {
  out << "Difference of two S-matrix containers over [" << d.from() << " , " << d.to() << "] Hz:";
  return out << "\n" << d.first() << "\n" << d.second();
}

// The printer of every evaluator kind. It is declared with the evaluator base but defined here,
// in the last layer that adds an evaluator, because it has to know each concrete kind: the data
// model below cannot name the difference container without depending on the comparison built
// on top of it. A virtual print operation on the base would have done it too, but would change
// the base's virtual table, which every evaluator a host derives from it depends on.
std::ostream& operator<<(std::ostream& out, const SMatrixEvaluator* evaluator) {
  // dynamic_cast rather than a cast on the type code alone: several kinds report the same code
  // (both containers report MIXED), and a host's evaluator may report a known code without
  // being that class; such an evaluator prints nothing.
  if (evaluator == nullptr) return out;
  switch (evaluator->type()) {
    case SMatrixEvaluator::SAMPLE:
      if (auto sample = dynamic_cast<const SMatrixSample*>(evaluator)) out << *sample;
      break;
    case SMatrixEvaluator::MODEL:
      if (auto model = dynamic_cast<const SMatrixModel*>(evaluator)) out << *model;
      break;
    case SMatrixEvaluator::MIXED:
      if (auto container = dynamic_cast<const SMatrixContainer*>(evaluator)) {
        out << *container;
      } else if (auto difference = dynamic_cast<const SMatrixDifferenceContainer*>(evaluator)) {
        out << *difference;
      }
      break;
  }
  return out;
}

}  // namespace korvantix
