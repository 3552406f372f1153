#pragma once

/// \file
/// Reading the world's files: Touchstone (versions 1.0, 1.1, 2.0 and 2.1) and CITIfile, and
/// recognising any data file this library reads.
///
/// Every reader replaces the container's content and fails with std::runtime_error whose text
/// starts with the path and the line number ("filter.s2p:17: ..."), saying what was expected
/// and what was found; "Unable to read <path>" when the file does not open. A damaged file never
/// crashes, hangs or allocates beyond what its size justifies.

#include <korvantix/config.hpp>
#include <korvantix/container.hpp>

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace korvantix {

/// One line of a Touchstone noise block.
struct NoiseParameters {
  double frequency;                ///< Hz
  double nfmin_db;                 ///< minimum noise figure, dB
  std::complex<double> gamma_opt;  ///< optimum source reflection coefficient
  double rn;  ///< effective noise resistance, ohms (version 1 files store it normalised to R)
};

/// Reads a Touchstone file: N ports (from [Number of Ports], else the .sNp extension), one sample
/// per frequency in hertz with S parameters (Y, Z, H and G data converted) and real reference
/// impedances per port. Field-solver comments "! Gamma" and "! Port Impedance" become the port
/// data ("Gamma", k) and ("Zpi", k); the reference impedances stay those of the option line or
/// [Reference] (renormalize to the port impedances where the solver's S values refer to them).
/// Port names come from "! Port[k] = name" or "! Port[k] name" comments. Noise data is dropped.
KORVANTIX_API void read_touchstone(SMatrixContainer& container, const char* path);
/// As above; the noise block's lines replace the content of `noise`.
KORVANTIX_API void read_touchstone(SMatrixContainer& container, const char* path,
                                   std::vector<NoiseParameters>& noise);
/// Reads the first package of a CITIfile: the frequencies, DATA S[i,j] blocks (required),
/// PORTZ[i] reference impedances and any other DATA name[k] as port data (name, k).
KORVANTIX_API void read_cti(SMatrixContainer& container, const char* path);

/// The kinds of data file this library reads.
enum class DataFormat : std::int32_t {
  unknown = 0,
  kvx_ascii = 1,
  kvx_binary = 2,
  touchstone = 3,
  citifile = 4
};

/// What identify found: the format and its version as the file states it ("2.3.0" for a
/// kvx-file, "1.1" or "2.0" or "2.1" for Touchstone, "A.01.01" for CITIfile; empty when unknown).
struct DataFileIdentity {
  DataFormat format = DataFormat::unknown;
  std::string version;
};

/// Recognises a file by its content first (the kvx magics, a CITIFILE header, a Touchstone
/// option line or [Version] keyword) and by its extension second (.kvx, .sNp, .ts, .cti, .citi).
/// Reads at most the first few kilobytes. Throws std::runtime_error "Unable to read <path>".
KORVANTIX_API DataFileIdentity identify(const char* path);
/// Reads any file identify recognises with the reader of its format. Throws std::runtime_error
/// "<path>: not a kvx-file, Touchstone file or CITIfile" for an unknown one, and what the
/// format's reader throws.
KORVANTIX_API void read_any(SMatrixContainer& container, const char* path);

}  // namespace korvantix
