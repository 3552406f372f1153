#pragma once

/// \file
/// Scalar models: complex-valued functions of the frequency in hertz (polynomial, rational,
/// pole-zero, cubic spline, static table) and the operators that combine them (conjugate, norm,
/// sum, difference, product). Every entry of an S-matrix model is one of these.

#include <korvantix/config.hpp>

#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace korvantix {

/// Abstract complex function of the frequency in hertz, used through pointers and copied with
/// clone(). The order of the virtual operations below is part of the interface.
class KORVANTIX_API ScalarModel {
 public:
  /// Type codes; the native files store these numbers.
  enum Type : std::int32_t {
    Polynomial = 1,
    Rational = 2,
    PoleZero = 3,
    StaticTable = 4,
    SparameterSpline = 5,
    CausalityEnforcedSparameterSpline = 6,
    Conjugate = 101,
    Norm = 102,
    Sum = 201,
    Difference = 202,
    Product = 203
  };

  virtual ~ScalarModel();
  /// A new heap copy of the dynamic type; the caller owns it.
  virtual ScalarModel* clone() const = 0;
  /// Whether the model carries no data.
  virtual bool empty() const = 0;
  /// The type code of the dynamic type.
  virtual Type type() const = 0;
  /// Batch evaluation: values is resized to freqs.size() and values[i] is the value at freqs[i];
  /// work is scratch space. The base definition (called explicitly by the kinds that have no
  /// loop of their own) evaluates each frequency through evaluate(double) and ignores work.
  /// Throws what evaluate(double) throws.
  virtual void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                        std::vector<std::complex<double>>& work) const = 0;
  /// The value at freq (hertz).
  virtual std::complex<double> evaluate(double freq) const = 0;
  /// The first derivative at freq; each kind documents its variable.
  virtual std::complex<double> evaluate_derivative(double freq) const = 0;
  /// The second derivative at freq; each kind documents its variable.
  virtual std::complex<double> evaluate_derivative_2(double freq) const = 0;
  /// Whether the value does not depend on the frequency; false unless a kind says otherwise.
  virtual bool is_constant() const;

  /// Polymorphic exact equality: same type code and equal by the kind's operator==. Codes 6
  /// (causality-enforced spline, not even equal to itself) and codes above 998 are never equal.
  /// other must not be null.
  bool equal(const ScalarModel* other) const;

  /// conj(a(f)); stores a clone of a. The caller owns the result.
  static ScalarModel* createConjugate(const ScalarModel* a);
  /// |a(f)|^2 with imaginary part 0; stores a clone of a. The caller owns the result.
  static ScalarModel* createNorm(const ScalarModel* a);
  /// a(f) + b(f); stores clones of a then b. The caller owns the result.
  static ScalarModel* createSum(const ScalarModel* a, const ScalarModel* b);
  /// a(f) - b(f); stores clones of a then b. The caller owns the result.
  static ScalarModel* createDifference(const ScalarModel* a, const ScalarModel* b);
  /// a(f) * b(f); stores clones of a then b. The caller owns the result.
  static ScalarModel* createProduct(const ScalarModel* a, const ScalarModel* b);

 protected:
  ScalarModel() = default;
  ScalarModel(const ScalarModel&) = default;
  ScalarModel& operator=(const ScalarModel&) = default;
};

/// Complex polynomial in the frequency: sum of coef[k] * freq^k. Derivatives are with respect to
/// the frequency in hertz. Nothing here throws except on allocation failure.
class KORVANTIX_API PolynomialModel : public ScalarModel {
 public:
  /// No coefficient: empty, constant, evaluates to 0.
  PolynomialModel() = default;
  /// Coefficients in ascending order of power.
  explicit PolynomialModel(const std::vector<std::complex<double>>& coef);
  /// Coefficients in ascending order of power; makes PolynomialModel({1.0, 2.0}) mean 1 + 2 f
  /// (without it a braced list would also fit the one- and two-coefficient constructors).
  PolynomialModel(std::initializer_list<std::complex<double>> coef);
  /// The constant c0.
  explicit PolynomialModel(const std::complex<double>& c0);
  /// c0 + c1 * freq.
  PolynomialModel(const std::complex<double>& c0, const std::complex<double>& c1);
  /// c0 + c1 * freq + c2 * freq^2.
  PolynomialModel(const std::complex<double>& c0, const std::complex<double>& c1,
                  const std::complex<double>& c2);

  /// The coefficients in ascending order of power.
  std::vector<std::complex<double>>& coef() { return coef_; }
  const std::vector<std::complex<double>>& coef() const { return coef_; }
  /// Coefficient k, unchecked.
  std::complex<double>& operator()(std::size_t k) { return coef_[k]; }
  const std::complex<double>& operator()(std::size_t k) const { return coef_[k]; }
  /// The number of coefficients (degree + 1).
  std::size_t size() const { return coef_.size(); }

  /// Exact comparison of the coefficient lists (a NaN makes them unequal).
  bool operator==(const PolynomialModel& other) const;
  bool operator!=(const PolynomialModel& other) const { return !(*this == other); }

  /// Horner evaluation of coef at x (0 for an empty list).
  static std::complex<double> evaluate(const std::vector<std::complex<double>>& coef, double x);
  /// First derivative with respect to x.
  static std::complex<double> evaluate_derivative(const std::vector<std::complex<double>>& coef,
                                                  double x);
  /// Second derivative with respect to x.
  static std::complex<double> evaluate_derivative_2(const std::vector<std::complex<double>>& coef,
                                                    double x);
  /// Batch form: values resized to xs.size(), values[i] bit-identical to evaluate(coef, xs[i]).
  static void evaluate(const std::vector<std::complex<double>>& coef, const std::vector<double>& xs,
                       std::vector<std::complex<double>>& values);

  ScalarModel* clone() const override;
  bool empty() const override;
  Type type() const override;
  /// Batch evaluation through the static batch form; work is not touched.
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate(double freq) const override;
  std::complex<double> evaluate_derivative(double freq) const override;
  std::complex<double> evaluate_derivative_2(double freq) const override;
  /// True with at most one coefficient.
  bool is_constant() const override;

 private:
  std::vector<std::complex<double>> coef_;
};

/// Quotient N(x) / D(x) of two complex polynomials in the scaled frequency x = freq / scale.
/// Derivatives are with respect to x (no 1/scale factor); the second derivative evaluates the
/// model's value and first derivative at x / scale, a deliberate double scaling that is exact
/// only for scale 1. A vanishing denominator gives non-finite values, never an exception.
class KORVANTIX_API RationalModel : public ScalarModel {
 public:
  /// Both polynomials empty (value 0/0), scale 1.
  RationalModel() = default;
  /// Scale 1.
  RationalModel(const std::vector<std::complex<double>>& nominator,
                const std::vector<std::complex<double>>& denominator);
  RationalModel(const std::vector<std::complex<double>>& nominator,
                const std::vector<std::complex<double>>& denominator, double scale);

  /// The frequency divisor.
  double& scale() { return scale_; }
  double scale() const { return scale_; }
  /// Ascending coefficients of the numerator.
  std::vector<std::complex<double>>& nominator() { return nominator_; }
  const std::vector<std::complex<double>>& nominator() const { return nominator_; }
  /// Ascending coefficients of the denominator.
  std::vector<std::complex<double>>& denominator() { return denominator_; }
  const std::vector<std::complex<double>>& denominator() const { return denominator_; }
  /// Numerator coefficient k, unchecked.
  std::complex<double>& nominator(std::size_t k) { return nominator_[k]; }
  const std::complex<double>& nominator(std::size_t k) const { return nominator_[k]; }
  /// Denominator coefficient k, unchecked.
  std::complex<double>& denominator(std::size_t k) { return denominator_[k]; }
  const std::complex<double>& denominator(std::size_t k) const { return denominator_[k]; }

  /// Exact comparison of numerator and denominator; the scale takes no part.
  bool operator==(const RationalModel& other) const;
  bool operator!=(const RationalModel& other) const { return !(*this == other); }

  ScalarModel* clone() const override;
  /// True only when both polynomials are empty.
  bool empty() const override;
  Type type() const override;
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate(double freq) const override;
  std::complex<double> evaluate_derivative(double freq) const override;
  std::complex<double> evaluate_derivative_2(double freq) const override;

 private:
  void scale_freq(double& freq) const;

  double scale_ = 1.0;
  std::vector<std::complex<double>> nominator_;
  std::vector<std::complex<double>> denominator_;
};

/// Pole-residue form d + e*s + sum r_k / (s - p_k) with s = j * 2*pi * freq / scale.
/// Derivatives are with respect to the frequency in hertz.
/// Evaluation throws std::runtime_error "pole-zero model needs one residue per pole, found <r>
/// residues for <n> poles" when there are fewer residues than poles. A frequency at a pole gives
/// non-finite values, no exception.
class KORVANTIX_API PoleZeroModel : public ScalarModel {
 public:
  /// No poles, both factors 0, scale 1: empty, evaluates to 0.
  PoleZeroModel() = default;
  PoleZeroModel(double scale, const std::vector<std::complex<double>>& poles,
                const std::vector<std::complex<double>>& residues,
                std::complex<double> constantFactor, std::complex<double> linearFactor);

  /// The divisor of the angular frequency.
  double& scale() { return scale_; }
  const double& scale() const { return scale_; }
  std::vector<std::complex<double>>& poles() { return poles_; }
  const std::vector<std::complex<double>>& poles() const { return poles_; }
  /// One residue per pole, in the order of the poles.
  std::vector<std::complex<double>>& residues() { return residues_; }
  const std::vector<std::complex<double>>& residues() const { return residues_; }
  /// Pole k, unchecked.
  std::complex<double>& pole(std::size_t k) { return poles_[k]; }
  const std::complex<double>& pole(std::size_t k) const { return poles_[k]; }
  /// Residue k, unchecked.
  std::complex<double>& residue(std::size_t k) { return residues_[k]; }
  const std::complex<double>& residue(std::size_t k) const { return residues_[k]; }
  /// The constant term d.
  std::complex<double>& constantFactor() { return constantFactor_; }
  const std::complex<double>& constantFactor() const { return constantFactor_; }
  /// The coefficient e of s.
  std::complex<double>& linearFactor() { return linearFactor_; }
  const std::complex<double>& linearFactor() const { return linearFactor_; }
  std::size_t nbPoles() const { return poles_.size(); }

  /// Exact comparison of poles, residues, constant factor, linear factor and scale.
  bool operator==(const PoleZeroModel& other) const;
  bool operator!=(const PoleZeroModel& other) const { return !(*this == other); }

  ScalarModel* clone() const override;
  /// True without poles and with both factors exactly 0 (residues are not looked at).
  bool empty() const override;
  Type type() const override;
  /// Batch evaluation, bit-identical to evaluate(double) per frequency; work is not touched.
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate(double freq) const override;
  std::complex<double> evaluate_derivative(double freq) const override;
  std::complex<double> evaluate_derivative_2(double freq) const override;

 private:
  double scale_ = 1.0;
  std::vector<std::complex<double>> poles_;
  std::vector<std::complex<double>> residues_;
  std::complex<double> constantFactor_;
  std::complex<double> linearFactor_;
};

/// Complex cubic spline in the frequency from its knots, the values at the knots and the second
/// derivatives at the knots. It is causality-enforced (type 6) when it carries subtraction
/// frequencies, which the library stores but does not use. Outside the knots the end cubics are
/// extrapolated. Derivatives are with respect to the frequency in hertz.
/// Evaluation (value, derivatives) throws std::runtime_error when the three vectors differ in
/// size (the nbKnots() text) or when there are fewer than two knots: "spline model needs at
/// least 2 knots, found <n>"; spline_interval_idx throws the latter.
class KORVANTIX_API SparameterSplineModel : public ScalarModel {
 public:
  /// No knots: empty, type 5.
  SparameterSplineModel() = default;
  /// All four moved in; a subtraction list (even an empty one) makes the spline type 6.
  SparameterSplineModel(std::vector<double> freqs, std::vector<std::complex<double>> samples,
                        std::vector<std::complex<double>> coefs,
                        std::optional<std::vector<double>> subtraction_freqs = std::nullopt);

  /// The knots, ascending, in hertz.
  std::vector<double>& freqs() { return freqs_; }
  const std::vector<double>& freqs() const { return freqs_; }
  /// The values at the knots.
  std::vector<std::complex<double>>& samples() { return samples_; }
  const std::vector<std::complex<double>>& samples() const { return samples_; }
  /// The second derivatives at the knots.
  std::vector<std::complex<double>>& coefs() { return coefs_; }
  const std::vector<std::complex<double>>& coefs() const { return coefs_; }
  /// The subtraction frequencies; engaged exactly for a causality-enforced spline.
  std::optional<std::vector<double>>& subtraction_freqs() { return subtraction_freqs_; }
  const std::optional<std::vector<double>>& subtraction_freqs() const { return subtraction_freqs_; }

  /// The number of knots. Throws std::runtime_error "Number of knots undefined : unequal sizes
  /// of spline frequencies (<n>), samples (<m>) and coefficients (<k>)" when the sizes differ.
  std::size_t nbKnots() const;
  /// Index i of the interval [t_i, t_i+1] used at freq: the first interval below t_1, the last
  /// at or above the last knot, the interval starting at a knot equal to freq.
  std::size_t spline_interval_idx(double freq) const;

  /// Exact comparison of knots, samples, coefficients and subtraction frequencies (an empty
  /// optional equals only an empty optional).
  bool operator==(const SparameterSplineModel& other) const;
  bool operator!=(const SparameterSplineModel& other) const { return !(*this == other); }

  ScalarModel* clone() const override;
  /// True without knots.
  bool empty() const override;
  /// 5, or 6 with subtraction frequencies.
  Type type() const override;
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate(double freq) const override;
  std::complex<double> evaluate_derivative(double freq) const override;
  std::complex<double> evaluate_derivative_2(double freq) const override;
  /// True with at most one sample, or with all samples equal and all coefficients 0.
  bool is_constant() const override;

 private:
  std::vector<double> freqs_;
  std::vector<std::complex<double>> samples_;
  std::vector<std::complex<double>> coefs_;
  std::optional<std::vector<double>> subtraction_freqs_;
};

/// Transformations of the values of a fitted model; the codes are stored in files.
struct KORVANTIX_API Transformation {
  /// Inverse: v -> 1/v both ways. Squared: v -> v*v forward, principal square root back.
  /// Any other code is skipped by both chains.
  enum Type : std::int32_t { Inverse = 1, Squared = 2 };
};

/// Abstract model defined by a table of samples kept sorted by frequency, stored after the
/// forward transformations (in list order); fitted values go back through the inverse chain
/// (in reverse list order). Fitted models have no derivatives.
class KORVANTIX_API FittedScalarModel : public ScalarModel {
 public:
  /// No samples, no transformations.
  FittedScalarModel() = default;
  explicit FittedScalarModel(const std::vector<Transformation::Type>& transformations);

  /// Inserts the transformed value at its sorted place (binary search; O(1) above the last
  /// sample, O(n) elsewhere: a reader filling a table in another order uses addSamples).
  /// Throws std::runtime_error "The FittedScalarModel already contains a sample at<freq> Hz"
  /// (no blank before the number) when freq is present, and "The FittedScalarModel cannot hold
  /// a sample at nan Hz" for a NaN frequency; the model is unchanged then.
  void addSample(double freq, const std::complex<double>& value);
  /// Adds many (frequency, value) pairs in O(n log n) whatever their order, with the result and
  /// the failure (the first offending pair in list order) of calling addSample on each in
  /// turn, except that on failure the model is left unchanged.
  void addSamples(const std::vector<std::pair<double, std::complex<double>>>& samples);
  /// Frequency of sample i and its value passed back through the inverse chain; unchecked.
  std::pair<double, std::complex<double>> getSample(std::size_t i) const;
  std::size_t nbSamples() const { return sample_freqs_.size(); }
  std::size_t nbTransformations() const { return transformations_.size(); }
  /// Transformation i, unchecked.
  Transformation::Type getTransformation(std::size_t i) const { return transformations_[i]; }

  /// True without samples.
  bool empty() const override;
  /// evaluate_fit on all frequencies, then the inverse chain on all values.
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  /// The inverse chain of evaluate_fit(freq).
  std::complex<double> evaluate(double freq) const override;
  /// Always throws std::runtime_error "FittedScalarModel::evaluate_derivative is not supported
  /// yet".
  std::complex<double> evaluate_derivative(double freq) const override;
  /// Always throws std::runtime_error "FittedScalarModel::evaluate_derivative_2 is not
  /// supported yet".
  std::complex<double> evaluate_derivative_2(double freq) const override;

 protected:
  FittedScalarModel(const FittedScalarModel&) = default;
  FittedScalarModel(FittedScalarModel&&) = default;
  FittedScalarModel& operator=(const FittedScalarModel&) = default;
  FittedScalarModel& operator=(FittedScalarModel&&) = default;

  /// The fit in the transformed domain at every frequency.
  virtual void evaluate_fit(const std::vector<double>& freqs,
                            std::vector<std::complex<double>>& values,
                            std::vector<std::complex<double>>& work) const = 0;
  /// The fit in the transformed domain at freq.
  virtual std::complex<double> evaluate_fit(double freq) const = 0;

  /// The forward chain of one value (freq is not used).
  std::complex<double> applyTrafo(double freq, const std::complex<double>& value) const;
  /// The inverse chain of one value (freq is not used).
  std::complex<double> applyInvTrafo(double freq, const std::complex<double>& value) const;
  /// The inverse chain of every value, one transformation at a time over all values.
  void applyInvTrafo(const std::vector<double>& freqs,
                     std::vector<std::complex<double>>& values) const;

  /// The sample frequencies, ascending, and the transformed values, in the same order.
  const std::vector<double>& sample_freqs() const { return sample_freqs_; }
  const std::vector<std::complex<double>>& sample_values() const { return sample_values_; }

 private:
  // Two parallel arrays: the binary search touches only the frequencies.
  std::vector<double> sample_freqs_;
  std::vector<std::complex<double>> sample_values_;
  std::vector<Transformation::Type> transformations_;
};

/// Table model: Lagrange interpolation over a sliding stencil of `degree` neighbouring samples
/// (local polynomial of degree `degree` - 1), all samples when there are fewer.
/// Evaluation throws std::out_of_range "<freq> does not belong to tabulation interval [<first>
/// , <last>]" outside the samples, std::runtime_error "static table model without samples
/// cannot be evaluated" and "static table model of degree 0 cannot be evaluated".
class KORVANTIX_API StaticTableModel : public FittedScalarModel {
 public:
  explicit StaticTableModel(std::size_t degree);
  StaticTableModel(std::size_t degree, const std::vector<Transformation::Type>& transformations);

  /// The number of samples one interpolation uses.
  std::size_t degree() const { return degree_; }

  /// Exact comparison of degree, samples (frequencies and stored values) and transformations.
  bool operator==(const StaticTableModel& other) const;
  bool operator!=(const StaticTableModel& other) const { return !(*this == other); }

  ScalarModel* clone() const override;
  Type type() const override;

 protected:
  void evaluate_fit(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                    std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate_fit(double freq) const override;

 private:
  std::size_t degree_;
};

/// Operator traits: arity, type code and the arithmetic of the derived models.
struct KORVANTIX_API ConjugateTraits {
  static constexpr std::size_t arity = 1;
  static constexpr ScalarModel::Type code = ScalarModel::Conjugate;
};
struct KORVANTIX_API NormTraits {
  static constexpr std::size_t arity = 1;
  static constexpr ScalarModel::Type code = ScalarModel::Norm;
};
struct KORVANTIX_API SumTraits {
  static constexpr std::size_t arity = 2;
  static constexpr ScalarModel::Type code = ScalarModel::Sum;
};
struct KORVANTIX_API DifferenceTraits {
  static constexpr std::size_t arity = 2;
  static constexpr ScalarModel::Type code = ScalarModel::Difference;
};
struct KORVANTIX_API ProductTraits {
  static constexpr std::size_t arity = 2;
  static constexpr ScalarModel::Type code = ScalarModel::Product;
};

/// A model derived from one or two operand models (owned clones): conjugate, norm, sum,
/// difference (a - b) or product. Derivatives follow the rules of calculus on whatever the
/// operands return, and so throw what the operands throw. Only the five traits above exist.
template <class Traits>
class KORVANTIX_API ScalarOperator : public ScalarModel {
 public:
  /// Unary kinds: stores a clone of a.
  template <std::size_t N = Traits::arity, std::enable_if_t<N == 1, int> = 0>
  explicit ScalarOperator(const ScalarModel* a) {
    operands_[0].reset(a->clone());
  }
  /// Binary kinds: stores clones of a, then b.
  template <std::size_t N = Traits::arity, std::enable_if_t<N == 2, int> = 0>
  ScalarOperator(const ScalarModel* a, const ScalarModel* b) {
    operands_[0].reset(a->clone());
    operands_[1].reset(b->clone());
  }
  /// Clones every operand of other, in order.
  ScalarOperator(const ScalarOperator& other);
  ScalarOperator& operator=(const ScalarOperator&) = delete;
  ~ScalarOperator() override;

  /// Operand i (0 = a, 1 = b), owned by the operator; unchecked.
  const ScalarModel* operand(std::size_t i) const { return operands_[i].get(); }

  /// Operand by operand through ScalarModel::equal; positional (a + b differs from b + a).
  bool operator==(const ScalarOperator& other) const;
  bool operator!=(const ScalarOperator& other) const { return !(*this == other); }

  ScalarModel* clone() const override;
  /// Always false.
  bool empty() const override;
  Type type() const override;
  void evaluate(const std::vector<double>& freqs, std::vector<std::complex<double>>& values,
                std::vector<std::complex<double>>& work) const override;
  std::complex<double> evaluate(double freq) const override;
  std::complex<double> evaluate_derivative(double freq) const override;
  std::complex<double> evaluate_derivative_2(double freq) const override;
  /// True when every operand is constant.
  bool is_constant() const override;

 private:
  std::array<std::unique_ptr<ScalarModel>, Traits::arity> operands_;
};

// The five operator kinds are compiled into the library only.
extern template class KORVANTIX_API ScalarOperator<ConjugateTraits>;
extern template class KORVANTIX_API ScalarOperator<NormTraits>;
extern template class KORVANTIX_API ScalarOperator<SumTraits>;
extern template class KORVANTIX_API ScalarOperator<DifferenceTraits>;
extern template class KORVANTIX_API ScalarOperator<ProductTraits>;

/// "Polynomial Model: (c0)*freq^0 + (c1)*freq^1 ...", numbers in the stream's settings.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const PolynomialModel& model);
/// "Rational Model: ( c0*(freq/scale)^0 + ... ) / ( ... )".
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const RationalModel& model);
/// "Pole-Zero Model: r1/(s-p1) + ... + e x s + d, with s = j*omega/scale". Throws the
/// evaluation's residue error when there are fewer residues than poles.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const PoleZeroModel& model);
/// "S-parameter Spline Model: <n> knots", plus the subtraction count for type 6. Throws the
/// nbKnots() error when the vector sizes differ.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const SparameterSplineModel& model);
/// "Static Table Model (degree=<d>, trafo=...) : [f -> v] , ...".
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const StaticTableModel& model);
/// Dispatch on type(): codes 1 to 5 as their class, operators as a one-line description, 999
/// as "unknown scalar model type"; code 6, other codes and a null pointer print nothing.
KORVANTIX_API std::ostream& operator<<(std::ostream& out, const ScalarModel* model);

}  // namespace korvantix
