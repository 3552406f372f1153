#include <korvantix/container.hpp>
#include <korvantix/scalar.hpp>

#include <algorithm>
#include <atomic>
#include <complex>
#include <cstdint>
#include <exception>
#include <mutex>
#include <random>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "detail/facts.hpp"
#include "detail/message.hpp"
#include "model/bulk.hpp"

namespace korvantix {

namespace {

// Runs work on `workers` threads, the calling thread one of them. When the system refuses a
// thread, the ones running share the work all the same.
template <class Work>
void run_workers(std::size_t workers, const Work& work) {
  std::vector<std::thread> threads;
  if (workers > 1) threads.reserve(workers - 1);
  for (std::size_t k = 1; k < workers; ++k) {
    try {
      threads.emplace_back(work);
    } catch (const std::system_error&) {
      break;
    }
  }
  work();
  for (std::thread& thread : threads)
    thread.join();
}

std::size_t hardware_workers(std::size_t nbThreads) {
  if (nbThreads != 0) return nbThreads;
  return std::max<std::size_t>(1, std::thread::hardware_concurrency());
}

// load_S: frequencies per worker below which another thread costs more than it saves, and the
// run a worker takes at a time (neighbouring queries share one sample search).
constexpr std::size_t kPerWorker = 256;
constexpr std::size_t kRun = 512;

}  // namespace

void SMatrixContainer::load(const std::vector<double>& freqs, std::vector<SMatrixSample>& samples,
                            std::size_t nbThreads) const {
  // More workers than frequencies would only start threads that find nothing to do.
  const std::size_t workers = std::min(hardware_workers(nbThreads), freqs.size());

  std::vector<SMatrixSample> result(freqs.size());
  const bool symmetric = is_symmetric();
  std::atomic<std::size_t> next{0};
  std::atomic<bool> failed{false};
  // Written only by the worker that wins the exchange on `failed`, read only after every
  // thread has been joined: no lock is needed.
  std::exception_ptr error;

  const auto work = [&]() noexcept {
    try {
      while (!failed.load(std::memory_order_relaxed)) {
        const std::size_t k = next.fetch_add(1, std::memory_order_relaxed);
        if (k >= freqs.size()) return;
        result[k] = symmetric ? evaluate_symm(freqs[k], MAG_PHASE) : evaluate(freqs[k], MAG_PHASE);
      }
    } catch (...) {
      if (!failed.exchange(true)) error = std::current_exception();
    }
  };

  run_workers(workers, work);
  if (error) std::rethrow_exception(error);
  samples = std::move(result);
}

void SMatrixContainer::load_S(const double* freqs, std::size_t count, InterpolationType t,
                              std::complex<double>* out, std::size_t nbThreads) const {
  const std::size_t size = detail::matrix_size(nbPorts());
  const bool symmetric = is_symmetric();
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> limit{count};  // nothing at or above a failed position is needed
  std::mutex error_mutex;
  std::size_t error_position = count;
  std::exception_ptr error;

  // Workers take runs in ascending order and finish each below the limit, so every position
  // below a failure is evaluated: the failure reported is the lowest, as in a plain loop.
  const auto work = [&]() noexcept {
    for (;;) {
      const std::size_t first = next.fetch_add(kRun);
      if (first >= limit.load()) return;
      const std::size_t last = std::min(first + kRun, count);
      detail::SampleCursor cursor;
      for (std::size_t k = first; k < last && k < limit.load(); ++k) {
        try {
          detail::evaluate_s_into(*this, freqs[k], t, symmetric, cursor, out + k * size);
        } catch (...) {
          const std::lock_guard<std::mutex> lock(error_mutex);
          if (k < error_position) {
            error_position = k;
            error = std::current_exception();
            limit.store(k);
          }
          return;
        }
      }
    }
  };
  run_workers(std::min(hardware_workers(nbThreads), std::max<std::size_t>(1, count / kPerWorker)),
              work);
  if (error) std::rethrow_exception(error);
}

namespace {

// A fixed seed: every call draws the same models, on every platform.
constexpr std::uint64_t kRandomModelSeed = 0x6b76782d706f6c65;  // "kvx-pole"

// Uniform in [lo, hi) from the top 53 bits of the engine's output. std::uniform_real_distribution
// is left out on purpose: its algorithm differs between standard libraries.
class Uniform {
 public:
  double operator()(double lo, double hi) {
    const double unit = static_cast<double>(engine_() >> 11) * 0x1.0p-53;
    return lo + (hi - lo) * unit;
  }
  std::complex<double> in_square(double half_width) {
    const double re = (*this)(-half_width, half_width);
    const double im = (*this)(-half_width, half_width);
    return {re, im};
  }

 private:
  std::mt19937_64 engine_{kRandomModelSeed};
};

// One random stable pole-residue function over the scaled band [w_lo, w_hi] (angular units of
// s = j*2*pi*f/scale): conjugate pole pairs -zeta*w0 +- j*w0*sqrt(1 - zeta^2) with resonances
// w0 inside the band and damping zeta in [0.05, 0.5], a real pole in the left half plane for
// an odd count, residues sized to peaks of at most about 1.
PoleZeroModel random_pole_zero(Uniform& uniform, double scale, double w_lo, double w_hi,
                               std::size_t nb_poles, bool constant, bool linear) {
  std::vector<std::complex<double>> poles;
  std::vector<std::complex<double>> residues;
  poles.reserve(nb_poles);
  residues.reserve(nb_poles);
  for (std::size_t k = 0; k + 1 < nb_poles; k += 2) {
    const double w0 = uniform(w_lo, w_hi);
    const double zeta = uniform(0.05, 0.5);
    const std::complex<double> pole(-zeta * w0, w0 * std::sqrt(1.0 - zeta * zeta));
    const std::complex<double> residue = zeta * w0 * uniform.in_square(1.0);
    poles.push_back(pole);
    poles.push_back(std::conj(pole));
    residues.push_back(residue);
    residues.push_back(std::conj(residue));
  }
  if (nb_poles % 2 == 1) {
    const double sigma = uniform(w_lo, w_hi);
    poles.emplace_back(-sigma, 0.0);
    residues.emplace_back(sigma * uniform(-1.0, 1.0), 0.0);
  }
  const std::complex<double> d = constant ? uniform.in_square(0.5) : std::complex<double>();
  const std::complex<double> e =
      linear ? uniform.in_square(0.5) / std::max(w_hi, 1.0) : std::complex<double>();
  return PoleZeroModel(scale, poles, residues, d, e);
}

}  // namespace

void SMatrixContainer::load_random_pole_zero_models(double fmin, double fmax, std::size_t nbPoles,
                                                    std::size_t nbZeros) {
  // nbPoles + 1 is written as a difference so that the largest count cannot wrap to 0.
  const bool one_more = nbZeros > nbPoles && nbZeros - nbPoles == 1;
  if (!(nbZeros == nbPoles || one_more || nbPoles == 2)) {
    throw std::runtime_error("nbZeros must be identical to nbPoles, nbPoles + 1 or nbPoles = 2");
  }
  if (nbPoles > std::vector<std::complex<double>>().max_size()) {
    throw std::runtime_error(detail::message("nbPoles ", nbPoles, " is too large"));
  }
  // The constructor refuses a reversed or NaN band before anything is drawn.
  SMatrixModel model(nbPorts(), fmin, fmax, port_data_names_);

  // Scaling by the largest band edge keeps the scaled angular frequencies within [0, 2*pi].
  const double edge = std::max(std::fabs(fmin), std::fabs(fmax));
  const double scale = std::isfinite(edge) && edge > 0.0 ? edge : 1.0;
  double w_lo = std::clamp(detail::kTwoPi * std::min(std::fabs(fmin), std::fabs(fmax)) / scale, 0.0,
                           detail::kTwoPi);
  const double w_hi = detail::kTwoPi;
  // Resonances at 0 would put poles on the imaginary axis' origin: keep them a little above.
  w_lo = std::max(w_lo, 0.05 * w_hi);
  const bool constant = nbZeros == nbPoles || one_more;
  const bool linear = one_more;

  Uniform uniform;
  const std::size_t n = nbPorts();
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i; j < n; ++j) {
      // Reciprocal networks: S(j, i) gets the same function as S(i, j).
      const PoleZeroModel entry =
          random_pole_zero(uniform, scale, w_lo, w_hi, nbPoles, constant, linear);
      model.set(i, j, &entry);
      if (j != i) model.set(j, i, &entry);
    }
  }
  const PoleZeroModel reference(scale, {}, {}, {50.0, 0.0}, {});
  for (std::size_t i = 0; i < n; ++i)
    model.setZref(i, &reference);
  for (const PortDataName& key : model.port_data_names()) {
    const PoleZeroModel datum =
        random_pole_zero(uniform, scale, w_lo, w_hi, nbPoles, constant, linear);
    model.set(key, &datum);
  }
  add(model);
}

}  // namespace korvantix
