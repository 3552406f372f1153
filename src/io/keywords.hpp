#pragma once

#include <cstdint>
#include <string_view>

// The vocabulary of the kvx-files, shared by the writers and the readers.
namespace korvantix::detail::kvx {

constexpr std::string_view kAsciiMagic = "ASCII KORVANTIX";
constexpr std::string_view kBinaryMagic = "BINARYKORVANTIX";
constexpr std::size_t kMagicSize = 15;
static_assert(kAsciiMagic.size() == kMagicSize && kBinaryMagic.size() == kMagicSize);

/// Written as a native 4-byte integer after the binary version; reads back as 0x44332211 on a
/// machine of the other byte order.
constexpr std::int32_t kEndiannessMarker = 0x11223344;
constexpr std::int32_t kSwappedEndiannessMarker = 0x44332211;

// Sections.
constexpr std::string_view kPropagationConstant = "PROPAGATIONCONSTANT";
constexpr std::string_view kYes = "YES";
constexpr std::string_view kPorts = "PORTS";
constexpr std::string_view kPort = "PORT";
constexpr std::string_view kData = "DATA";
constexpr std::string_view kNames = "NAMES";
constexpr std::string_view kGlobal = "GLOBAL";
constexpr std::string_view kProperties = "PROPERTIES";
constexpr std::string_view kModels = "MODELS";
constexpr std::string_view kSamples = "SAMPLES";
constexpr std::string_view kFreq = "FREQ";
constexpr std::string_view kHz = "Hz";
constexpr std::string_view kS = "S";
constexpr std::string_view kZref = "Zref";
constexpr std::string_view kFreqRange = "FREQRANGE";

// Scalar models.
constexpr std::string_view kPoly = "POLY";
constexpr std::string_view kRat = "RAT";
constexpr std::string_view kPoleZero = "POLEZERO";
constexpr std::string_view kPoles = "POLES";
constexpr std::string_view kResidues = "RESIDUES";
constexpr std::string_view kConstant = "CONSTANT";
constexpr std::string_view kLinear = "LINEAR";
constexpr std::string_view kFreqScale = "FREQSCALE";
constexpr std::string_view kStaticTable = "STATICTABLE";
constexpr std::string_view kInverse = "Inverse";
constexpr std::string_view kSquared = "Squared";
constexpr std::string_view kSparaSpline = "SPARASPLINE";
constexpr std::string_view kCausalitySpline = "CAUSALITYENFORCEDSPARASPLINE";
constexpr std::string_view kFreqs = "FREQS";
constexpr std::string_view kCoefs = "COEFS";
constexpr std::string_view kSubtractionFreqs = "SUBTRACTION_FREQS";

}  // namespace korvantix::detail::kvx
