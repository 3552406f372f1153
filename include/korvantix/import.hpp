#pragma once

/// \file
/// Reading the world's files: Touchstone (versions 1.0, 1.1, 2.0 and 2.1) and CITIfile, and
/// recognising any data file this library reads.
///
/// Every reader streams the file through one reused window (about 1 MiB), builds the result
/// aside and replaces the container's content only when the whole file was read: on failure
/// the container is unchanged. A file this library exports reads back to the same samples bit
/// for bit (numbers are read exactly, locale-free), with the same port names (names without
/// blanks at either end and not starting with "=") and reference impedances (exact when they
/// have at most the six significant digits the Touchstone header prints).
///
/// Errors are std::runtime_error. "Unable to read <path>" (with the angle brackets) when the
/// file does not open; otherwise "<path>:<line>: expected <what>, found <what>", the line being
/// the one where the fault shows (the last line for a file that ends too early, line 1 for an
/// empty file). A token is shown in double quotes, cut after 40 bytes with "...", or as
/// `end of line`; frequencies as the file writes them. A damaged file never crashes, hangs or
/// allocates more than 32 times its size plus 1 MiB: counts from the file (ports, frequencies)
/// size nothing before the data that fills them has been read.

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

/// Reads a Touchstone file into `container`: N ports, one sample per frequency (in hertz, in
/// the file's order, which must increase), S parameters and one real reference impedance per
/// port.
/// - Option line "# <unit> <parameter> <format> R <value>...": any order and case, defaults GHz
///   S MA R 50; the first option line counts, later ones are ignored. Units Hz, kHz, MHz, GHz;
///   parameters S, Y, Z, H, G (H and G 2-port only), converted to S with the network
///   conversions; formats MA and DB (angles in degrees), RI. R takes one value, or one per port
///   (in any version). Version 1 files store Y, Z, H and G normalised to R, version 2 in ohms.
/// - Port count: [Number of Ports], else the extension ".sNp" (any case). At most sqrt(file
///   size) ports: one matrix needs that many bytes.
/// - Values are counted: a frequency's values may spread over lines and end where its count
///   (1 + 2 N^2, or 1 + N (N + 1) for a triangle) is complete, which must be at a line end.
///   Two ports are in the order S11 S21 S12 S22 (version 1, and version 2 by default or with
///   [Two-Port Data Order] 21_12), or S11 S12 S21 S22 with 12_21; more ports row by row.
/// - Version 2 (the file starts with [Version] 2.0 or 2.1; keywords in any case): [Number of
///   Ports], [Two-Port Data Order], [Number of Frequencies] and [Number of Noise Frequencies]
///   (optional, checked against the data), [Reference] (one value per port over one or more
///   lines; it wins over R), [Matrix Format] Full, Lower or Upper (the other triangle
///   mirrored), [Begin Information] ... [End Information] (skipped), [Network Data], [Noise
///   Data], [End] (nothing after it is read).
/// - Noise: the [Noise Data] block, or in a version 1 two-port file the lines from the first
///   frequency that does not increase on: "f NFmin |Gopt| angle Rn" per line, Gopt always in
///   magnitude and degrees, Rn normalised to R in version 1 and in ohms in version 2.
/// - Comments start at "!". "! Port[k] = name" and "! Port[k] name" name port k (k from 1;
///   later ones win; out of range ignored); unnamed ports keep the names port_0, port_1, ....
///   The field-solver lines "! Gamma" and "! Port Impedance" after a frequency's values (an
///   optional "!" after the word, then one real and imaginary pair per port, possibly continued
///   on further comment lines holding only numbers) become the port data ("Gamma", k) and
///   ("Zpi", k); their matrix form (2 N^2 numbers) is skipped; the word followed by anything
///   but numbers is an ordinary comment. The reference impedances stay those of the option line
///   or [Reference]: where the solver's S values refer to the port impedances, renormalize.
/// Messages after "<path>:<line>: ", with <N>, <k>, <m> numbers and <f>, <t> tokens as written:
/// "expected a number, found <t>"; "expected a whole number, found <t>"; "expected a positive
/// whole number, found <t>"; "expected a finite frequency of at least 0, found <f>";
/// "expected a frequency above <f>, found <f>"; "expected <k> values for the frequency <f>,
/// found <m>"; "expected 5 values for the noise frequency <f>, found <m>"; "expected
/// [Number of Ports] or a .sNp file name, found neither"; "expected at most <k> ports in a
/// file of <size> bytes, found <N>" (an input without a size, such as a pipe, counts as 0
/// bytes here: its port count is refused rather than trusted); "expected Hz, kHz, MHz, GHz, S, Y,
/// Z, H, G, MA, DB, RI or R on the option line, found <t>"; "expected a reference impedance after
/// R, found <t>"; "expected 1 or <N> reference impedances after R, found <m>"; "expected a positive
/// reference impedance, found <z>" (on the line that gave it, checked when the first frequency
/// needs it); "expected 2 ports for H parameters, found <N>" (or G); "expected a keyword, found
/// <t>"; "expected [Version] before any other keyword, found <t>"; "expected 2.0 or 2.1 after
/// [Version], found <t>"; "expected 12_21 or 21_12 after [Two-Port Data Order], found <t>";
/// "expected Full, Lower or Upper after [Matrix Format], found <t>"; "expected [Number of
/// Ports] before [Reference], found none" (also before [Network Data]); "expected <N>
/// reference impedances after [Reference], found <m>"; "expected single-ended data, found
/// [Mixed-Mode Order] (mixed-mode data is not read)"; "expected [End Information], found end of
/// file"; "expected [Network Data] before the data, found <t>"; "expected [Noise Data] or [End]
/// after the network data, found <t>" (the layout cannot change once values have begun);
/// "expected the option line before the data, found it after"; "expected a Touchstone keyword,
/// found <t>"; "expected <k> frequencies as [Number of Frequencies] says, found <m>";
/// "expected <k> noise frequencies as [Number of Noise Frequencies] says, found <m>";
/// "expected <2N> values after "! Gamma", found <m>" (or "! Port Impedance"); "expected the
/// same field-solver comments for every frequency, found a difference at the frequency <f>".
/// Noise data is read and dropped.
KORVANTIX_API void read_touchstone(SMatrixContainer& container, const char* path);
/// As above; the noise lines replace the content of `noise` (only on success).
KORVANTIX_API void read_touchstone(SMatrixContainer& container, const char* path,
                                   std::vector<NoiseParameters>& noise);
/// Reads the first package of a CITIfile (up to a second CITIFILE line): "CITIFILE <version>"
/// first; "VAR freq MAG <n>" with VAR_LIST_BEGIN, one or more frequencies a line, VAR_LIST_END,
/// or SEG_LIST_BEGIN, "SEG <start> <stop> <count>" lines (count frequencies evenly spaced),
/// SEG_LIST_END; "DATA <name> <format>" with S[i,j] (1-based), PORTZ[i] (1-based, the
/// reference impedance; 50 ohms for a port without one) or any other name[k] (kept as the port
/// datum (name, k), 0-based), in any order, formats RI, MAG (magnitude only), MAGANGLE and
/// DBANGLE (degrees); then one BEGIN ... END block of <n> lines per DATA line, in the DATA
/// order, values separated by commas or blanks. NAME, COMMENT and CONSTANT lines are ignored,
/// "#" lines are comments, "#<word> Port[k] <name>" names port k. The port count is the
/// largest S index; every S block must be there. Keywords are upper case as written.
/// Messages after "<path>:<line>: ": "expected CITIFILE on the first line, found <t>" (or end of
/// file); "expected VAR freq MAG <count>, found <line>" (or none); "expected one VAR line,
/// found a second"; "expected VAR freq MAG <count> before <keyword>, found none"; "expected a
/// data name such as S[1,2], PORTZ[1] or Gamma[0], found <t>"; "expected RI, MAG, MAGANGLE or
/// DBANGLE, found <t>"; "expected one frequency list, found a second"; "expected a number,
/// found <t>"; "expected a positive whole number, found <t>"; "expected a finite frequency of
/// at least 0, found <f>"; "expected a frequency above <f>, found <f>"; "expected <n>
/// frequencies as VAR freq says, found more" (or "found <m> before VAR_LIST_END"); "expected SEG
/// or SEG_LIST_END, found <t>"; "expected VAR_LIST_BEGIN or SEG_LIST_BEGIN, found none";
/// "expected <k> values on a data line, found <m>"; "expected <n> data lines between BEGIN and
/// END, found <m>" (or more); "expected <d> data blocks, one per DATA line, found <m>" (or
/// more); "expected END, found end of file" (also VAR_LIST_END, SEG_LIST_END); "expected a
/// CITIfile keyword, found <t>"; "expected DATA S[i,j] lines, found none"; "expected DATA
/// S[i,j] for every i and j up to <N>, found <m> of them"; "expected one DATA line for
/// <name>, found a second"; "expected PORTZ[1] to PORTZ[<N>], found PORTZ[<i>]"; "expected an
/// index from 0 to <N-1>, found <name>[<k>]".
KORVANTIX_API void read_cti(SMatrixContainer& container, const char* path);

/// The kinds of data file this library reads.
enum class DataFormat : std::int32_t {
  unknown = 0,
  kvx_ascii = 1,
  kvx_binary = 2,
  touchstone = 3,
  citifile = 4
};

/// What identify found: the format and its version as the file states it ("2.3.0" for a kvx-file,
/// from its header's major, minor and patch numbers; "1.1", "2.0" or "2.1" for Touchstone;
/// "A.01.01" for CITIfile, the word after CITIFILE; empty when unknown).
struct DataFileIdentity {
  DataFormat format = DataFormat::unknown;
  std::string version;
};

/// Recognises a file by its content first (the kvx magics; else the first line that is not
/// blank or a "!" comment: CITIFILE, a Touchstone option line, which is version "1.1", or
/// [Version] 2.0 / 2.1) and by its extension second (any case): .kvx (kvx_ascii, no version),
/// .sNp and .ts (Touchstone "1.1": a version 1 file may start with its data), .cti and .citi
/// (no version). Reads the first 4 KiB. Throws std::runtime_error "Unable to read <path>".
KORVANTIX_API DataFileIdentity identify(const char* path);
/// Reads any file identify recognises with the reader of its format. Throws std::runtime_error
/// "<path>: not a kvx-file, Touchstone file or CITIfile" for an unknown one, and what the
/// format's reader throws.
KORVANTIX_API void read_any(SMatrixContainer& container, const char* path);

}  // namespace korvantix
