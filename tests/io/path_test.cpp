#include <cstdlib>
#include <tuple>

#include "io/path.hpp"
#include "io_test_support.hpp"

namespace korvantix {
namespace {

// Sets (on) or clears TAVRO_LONGPATHSUPPORT for one test, which the test environment leaves
// unset; its presence alone counts, an empty value included.
struct LongPathSwitch {
  explicit LongPathSwitch(bool on) { on ? ::setenv(kName, "", 1) : ::unsetenv(kName); }
  ~LongPathSwitch() { ::unsetenv(kName); }
  static constexpr const char* kName = "TAVRO_LONGPATHSUPPORT";
};

// A full-path function that pretends the current directory is C:\work.
std::optional<std::u16string> fake_full_path(const std::u16string& relative) {
  if (!relative.empty() && relative[0] == u'\\') return u"C:" + relative;
  return u"C:\\work\\" + relative;
}

TEST(Utf, ConvertsEveryEncodingLengthAndRefusesInvalidText) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // a, e-acute, euro, emoji
  const std::u16string units = detail::utf8_to_utf16(text);
  EXPECT_EQ(units, (std::u16string{u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00}));
  EXPECT_EQ(detail::utf16_to_utf8(units), text);
  for (const std::string bad : {"\x80", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80",
                                "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xE2\x82", "a\xC3"}) {
    EXPECT_THROW_MSG(detail::utf8_to_utf16(bad), std::range_error, "bad conversion");
  }
  EXPECT_THROW_MSG(detail::utf16_to_utf8(u"\xD800x"), std::range_error, "bad conversion");
  EXPECT_THROW_MSG(detail::utf16_to_utf8(std::u16string(1, char16_t(0xDC00))), std::range_error,
                   "bad conversion");
}

TEST(LongPath, WithoutTheSwitchNothingChanges) {
  LongPathSwitch off(false);
  EXPECT_EQ(detail::to_long_path("a/b.txt", true, &fake_full_path), "a/b.txt");
  EXPECT_EQ(to_long_path("\xFF not utf-8", true), "\xFF not utf-8");  // no conversion at all
  EXPECT_EQ(to_native_path("a/b.txt"), L"a/b.txt");
  EXPECT_THROW_MSG(to_native_path("\xFF"), std::range_error, "bad conversion");
}

TEST(LongPath, RewritesWithTheSwitch) {
  LongPathSwitch on(true);
  const std::tuple<const char*, bool, const char*> cases[] = {
      {"C:/data//x.txt", true, "\\\\?\\C:\\data\\x.txt"},
      {"C:/data//x.txt", false, "C:\\data\\x.txt"},
      {"//?/C:/x", true, "\\\\?\\C:\\x"},
      {"\\\\?\\C:\\x", true, "\\\\?\\C:\\x"},
      {"x.txt", true, "\\\\?\\C:\\work\\x.txt"},
      // The prefix is dropped only from a longer path; "//?/" alone is a relative path.
      {"//?/", false, "C:\\?\\"},
      // A UNC path loses one leading backslash and then lies on the current drive.
      {"\\\\server\\share\\x", true, "\\\\?\\C:\\server\\share\\x"},
      // The search resumes behind each hit: three or four separators keep two.
      {"C:/a///b", false, "C:\\a\\\\b"},
      {"C:/a////b", false, "C:\\a\\\\b"},
      {"", false, "C:\\work\\"},
      {"C:\xE2\x82\xAC", false, "C:\xE2\x82\xAC"},
  };
  for (const auto& [path, prefix, expected] : cases)
    EXPECT_EQ(detail::to_long_path(path, prefix, &fake_full_path), expected) << path;
  const auto failing = [](const std::u16string&) -> std::optional<std::u16string> { return {}; };
  EXPECT_EQ(detail::to_long_path("rel", true, failing), "");
  EXPECT_THROW_MSG(detail::to_long_path("C:/\xC3", true, &fake_full_path), std::range_error,
                   "bad conversion");
  EXPECT_EQ(to_native_path("C:/\xF0\x9F\x98\x80"),
            (std::wstring{L'\\', L'\\', L'?', L'\\', L'C', L':', L'\\', wchar_t(0xD83D),
                          wchar_t(0xDE00)}));  // UTF-16 units
}

#if !defined(_WIN32)
TEST(LongPath, PlatformFullPathResolvesAgainstTheCurrentDirectory) {
  EXPECT_EQ(detail::platform_full_path(u"\\x\\.\\y\\..\\z"), std::u16string(u"\\x\\z"));
  EXPECT_EQ(detail::platform_full_path(u"\\..\\.."), std::u16string(u"\\"));
  EXPECT_EQ(detail::platform_full_path(std::u16string(1100, u'a')), std::nullopt);

  LongPathSwitch on(true);
  std::string cwd = detail::utf16_to_utf8(*detail::platform_full_path(u"."));
  EXPECT_EQ(to_long_path("sub/../f.kvx", false), cwd + "\\f.kvx");
  EXPECT_EQ(to_long_path("f.kvx", true), "\\\\?\\" + cwd + "\\f.kvx");
}

TEST(OpenFile, OpensTheUtf8PathUnchangedEvenWithTheSwitch) {
  LongPathSwitch on(true);
  const std::string path = ::testing::TempDir() + "korvantix_path_\xC3\xA9.txt";
  { EXPECT_NE(detail::open_file(path.c_str(), "wb"), nullptr); }
  EXPECT_NE(detail::open_file(path.c_str(), "rb"), nullptr);
  EXPECT_EQ(detail::open_file((path + ".missing").c_str(), "rb"), nullptr);
  std::remove(path.c_str());
}
#endif

}  // namespace
}  // namespace korvantix
