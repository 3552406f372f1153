#pragma once

/// \file
/// The library's own kvx-files: the ASCII and the binary variant, format detection, the format
/// version rules and the conversion of file paths.
///
/// Paths are UTF-8. Every file is opened through one conversion (to_native_path): with the
/// environment variable TAVRO_LONGPATHSUPPORT set, a path is made absolute and given the
/// extended-length prefix "\\?\" on Windows. Linux and macOS have no extended-length paths (a
/// prefixed backslash path cannot be opened there), so files are opened by their UTF-8 path
/// unchanged whether or not the switch is set; the path is still checked to be valid UTF-8.
///
/// Files are written and read in binary mode on every platform: the ASCII writer puts "\n" line
/// ends, and the ASCII reader takes a carriage return for white space, so files written with
/// "\r\n" line ends read back as well.
///
/// Readers stream: a file is read through one reused buffer of 1 MiB (less for a smaller file),
/// so a read needs that much memory beyond the container it builds, whatever the file's size.
/// The first bytes are checked before more is read, so a device such as /dev/zero or a pipe of
/// garbage is refused at once; a pipe that carries a valid file reads like the file.
///
/// Failure contract shared by all readers: only std::runtime_error leaves them (and
/// std::range_error "bad conversion" from the path conversion). Damaged files end in a clear
/// message, never in a crash, a hang or an allocation beyond what the file's size justifies.
/// "Unable to read <path>" is raised for a path that does not open, for a directory and when
/// reading fails. Lists that are read item by item (port names, port data names, properties,
/// samples, models and a model's entries) are not checked against their count: a short file
/// fails where the grammar finds its fault. Besides the texts named per function, the readers
/// raise:
/// - "parsing error: count <n> too large for the rest of the file" (ASCII) and
///   "count <n> too large for the rest of the binary kvx-file" (binary): a list allocated at
///   once (numbers, texts, binary strings and tables) longer than the bytes left could hold;
/// - "parsing error: port count <n> too large for the rest of the file" (ASCII): the ports of
///   a container, or the N x N matrix of a sample, that the bytes left could not hold;
/// - "parsing error: invalid or missing number" (ASCII): a number that could not be read and
///   that no later keyword caught (a file cut in the middle of its last value);
/// - "unexpected end of binary kvx-file" and "negative count <n> in binary kvx-file";
/// - "S-matrix list of <n> entries for <N> ports" and "Zref list of <n> entries for <N> ports"
///   (binary): a sample whose lists do not fit the port count;
/// - "invalid pole-zero model with <p> poles and <r> residues" (binary),
///   "invalid spline model with <n> knots" (fewer than 2 knots) and
///   "invalid static table model of degree 0": scalar models that could not be evaluated;
/// - the messages of the container and scalar-model operations the readers call (a duplicate
///   sample frequency, overlapping models, an invalid band, a spline with lists of different
///   sizes, a static table with a repeated frequency...), unchanged.
/// A reader that fails after the file's ports were read leaves the container with the ports,
/// properties, samples and models read so far.

#include <korvantix/config.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace korvantix {

class SMatrixContainer;

/// The native file variants.
enum FileFormat : std::int32_t { ASCII = 1, BINARY = 2 };

/// Writes the whole container as an ASCII kvx-file (format version 2.3.0), doubles in scientific
/// notation with `precision` digits after the point.
/// Throws std::runtime_error "Unable to write to <path>" when the file does not open, and
/// "ascii io for scalar model <code> not supported" for a scalar model that is not one of the
/// kinds 1 to 6 (the partly written file stays on disk); the spline's nbKnots() error for a
/// spline with lists of different sizes. Write errors after the open are not reported.
KORVANTIX_API void write_ascii(const SMatrixContainer& container, const char* path, int precision);

/// Reads an ASCII kvx-file of format version 2.0 to 2.3 into `container`, replacing its content.
/// Throws std::runtime_error: "Unable to read <path>"; "not an ascii kvx-file";
/// "scii kvx version 1.x.x not supported (development version)" (sic);
/// "Current version <2.11.3> can not read files generated with version <a>.<b>.<c>";
/// "syntax error: expected <keyword>, but found <word>";
/// "syntax error: expected PROPAGATIONCONSTANT or PORTS, but found <word>";
/// "expected PORT PROPERTIES <p>, but found PORT PROPERTIES <q>";
/// "unexpected port data name: <name>[<index>]";
/// "unexpected port data name when parsing the models: <name>[<index>]";
/// "parsing error: reached end of file while searching for '<'" (and for '>');
/// "parsing error, unknown transformation type <word>";
/// "syntax error: exptected POLY or RAT or POLEZERO or STATICTABLE or SPARASPLINE but found
/// <word>" (sic); and the shared reader failures above.
KORVANTIX_API void read_ascii(SMatrixContainer& container, const char* path);

/// True when the file's first 15 bytes are "ASCII KORVANTIX".
/// Throws std::runtime_error "Unable to read <path>" when the file does not open or is a
/// directory.
KORVANTIX_API bool is_ascii(const char* path);

/// Appends the port names of an ASCII kvx-file to `names`.
/// Throws std::runtime_error "Unable to read <path>", "not an ascii kvx-file", the 1.x version
/// message, "syntax error: expected PORTS, but found <word>" and the '<' and '>' end-of-file
/// messages.
KORVANTIX_API void readPortNames_ascii(std::vector<std::string>& names, const char* path);

/// Writes the whole container as a binary kvx-file (format version 2.3.0) in the machine's byte
/// order; doubles are stored bit for bit, counts as 4-byte integers.
/// Throws std::runtime_error "Unable to write to <path>" when the file does not open, and
/// "binary write for scalar model <code> not supported" for a scalar model that is not one of
/// the kinds 1 to 6 (the partly written file stays on disk); the spline's nbKnots() error for a
/// spline with lists of different sizes.
KORVANTIX_API void write_binary(const SMatrixContainer& container, const char* path);

/// Reads a binary kvx-file of format version 2.0 to 2.3 into `container`, replacing its content.
/// Throws std::runtime_error: "Unable to read <path>"; "not a binary kvx-file";
/// "binary kvx version 1.x.x not supported (development version)"; the version message of
/// read_ascii; "reader and file use different endianness";
/// "binary read for scalar model <code> not supported"; and the shared reader failures above.
KORVANTIX_API void read_binary(SMatrixContainer& container, const char* path);

/// True when the file's first 15 bytes are "BINARYKORVANTIX".
/// Throws std::runtime_error "Unable to read <path>" when the file does not open or is a
/// directory.
KORVANTIX_API bool is_binary(const char* path);

/// Appends the port names of a binary kvx-file to `names`.
/// Throws std::runtime_error "Unable to read <path>", "not a binary kvx-file", the binary 1.x
/// version message, "reader and file use different endianness" and the shared reader failures.
KORVANTIX_API void readPortNames_binary(std::vector<std::string>& names, const char* path);

/// True when either variant's magic opens the file.
/// Throws std::runtime_error "Unable to read <path>" when the file does not open or is a
/// directory.
KORVANTIX_API bool can_read(const char* path);

/// Reads a kvx-file of either variant into `container`; the file is opened once and its magic
/// chooses the reader, so a pipe can be read this way too.
/// Throws std::runtime_error "unknown korvantix file format" for any other file, "Unable to
/// read <path>" when it does not open, and whatever the variant's reader throws.
KORVANTIX_API void read(SMatrixContainer& container, const char* path);

/// Appends the port names of a kvx-file of either variant.
/// Throws as read does.
KORVANTIX_API void readPortNames(std::vector<std::string>& names, const char* path);

/// Writes `container` as ASCII (precision 16) or BINARY; any other value writes nothing and
/// raises nothing. Throws what write_ascii or write_binary throws.
KORVANTIX_API void write(const SMatrixContainer& container, const char* path, FileFormat format);

/// True exactly when `library` is "KORVANTIX" (case-sensitive) and major is at most 2; minor and
/// patch are not consulted. A null library gives false.
KORVANTIX_API bool can_read_from_version(const char* library, int major, int minor, int patch);

/// The long-path rewrite, UTF-8 in and out. Without TAVRO_LONGPATHSUPPORT the path comes back
/// unchanged. With it: a leading "\\?\" or "//?/" is dropped (only from a path longer than four
/// characters), "/" becomes "\", doubled backslashes collapse (the search resumes behind each
/// hit, so three in a row keep two), a relative path (anything but "/..." or "?:...") is made
/// absolute against the current directory, and with add_prefix "\\?\" is put in front. An empty
/// string comes back when the absolute path cannot be formed (1024 characters or more), so the
/// open that follows fails.
/// Throws std::range_error "bad conversion" for text that is not valid UTF-8.
KORVANTIX_API std::string to_long_path(const std::string& path, bool add_prefix);

/// to_long_path(path, true) converted to UTF-16. Each wchar_t holds one UTF-16 code unit, also
/// where wchar_t is 32 bits wide (a character outside the BMP takes two elements).
/// Throws std::range_error "bad conversion" for text that is not valid UTF-8.
KORVANTIX_API std::wstring to_native_path(const std::string& path);

}  // namespace korvantix
