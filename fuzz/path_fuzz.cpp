// The path conversions on arbitrary bytes: UTF-8 and UTF-16 either convert losslessly both ways
// or fail with std::range_error "bad conversion", and the long-path rewrite (switch on, with a
// fixed full-path function) either fails that way or yields a prefixed path without "/".
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "fuzz_support.hpp"
#include "io/path.hpp"

namespace {

namespace detail = korvantix::detail;
namespace fuzz = korvantix::fuzz;

template <class Convert>
bool converted(Convert&& convert) {
  try {
    convert();
    return true;
  } catch (const std::range_error& error) {
    if (typeid(error) != typeid(std::range_error) ||
        std::string(error.what()) != "bad conversion") {
      throw;
    }
    return false;
  }
}

std::optional<std::u16string> fixed_full_path(const std::u16string& relative) {
  return u"C:\\base\\" + relative;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool switched_on = setenv("TAVRO_LONGPATHSUPPORT", "", 1) == 0;
  if (!switched_on) fuzz::invariant_broken("cannot set the long-path switch");
  const std::string text(fuzz::as_text(data, size));

  std::u16string wide;
  if (converted([&] { wide = detail::utf8_to_utf16(text); })) {
    if (detail::utf16_to_utf8(wide) != text) fuzz::invariant_broken("UTF-8 round trip");
  }

  std::u16string units(size / 2, u'\0');
  for (std::size_t k = 0; k < units.size(); ++k) {
    units[k] = static_cast<char16_t>(data[2 * k] | (data[2 * k + 1] << 8));
  }
  std::string narrow;
  if (converted([&] { narrow = detail::utf16_to_utf8(units); })) {
    if (detail::utf8_to_utf16(narrow) != units) fuzz::invariant_broken("UTF-16 round trip");
  }

  std::string long_path;
  if (converted([&] { long_path = detail::to_long_path(text, true, fixed_full_path); })) {
    if (long_path.compare(0, 4, "\\\\?\\") != 0) fuzz::invariant_broken("prefix missing");
    if (long_path.find('/') != std::string::npos) fuzz::invariant_broken("slash left");
  }
  return 0;
}
