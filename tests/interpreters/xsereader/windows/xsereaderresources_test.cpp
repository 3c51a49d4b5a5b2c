// The module's Windows resources, as the system reads them from
// xsereader.dll, say what the framework's tables say: both are made from one
// description, by the build and then by the resource compiler.
#include "interpreters/xsereader/xsereaderresources.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace {

using platform::ControlKind;

std::wstring ModulePath() {
  std::wstring path = platform::WidenUtf8(XSE_TEST_READER_MODULE);
  for (wchar_t& c : path) c = c == L'/' ? L'\\' : c;
  return path;
}

// Reads a resource's bytes field by field, in the layout the resource
// compiler writes (little-endian, UTF-16 texts ending in a zero).
class ResourceReader {
 public:
  ResourceReader(const uint8_t* data, size_t size) : begin_(data), at_(data), end_(data + size) {}

  template <typename T>
  T Take() {
    T value{};
    Copy(&value, sizeof value);
    return value;
  }
  void Skip(size_t bytes) { Copy(nullptr, bytes); }
  // A name or a number: 0xFFFF and the number, else a text.
  std::string Text() {
    std::wstring text;
    for (wchar_t c = Take<wchar_t>(); c != L'\0'; c = Take<wchar_t>()) {
      if (c == 0xFFFF && text.empty()) return "#" + std::to_string(Take<uint16_t>());
      text += c;
    }
    return platform::NarrowToUtf8(text);
  }
  void AlignToDword() { Skip((4 - static_cast<size_t>(at_ - begin_) % 4) % 4); }

 private:
  void Copy(void* to, size_t bytes) {
    if (bytes > static_cast<size_t>(end_ - at_)) throw std::out_of_range("past the resource's end");
    if (to != nullptr) std::memcpy(to, at_, bytes);
    at_ += bytes;
  }
  const uint8_t* begin_;
  const uint8_t* at_;
  const uint8_t* end_;
};

// Fields joined by blanks, texts in quotes: one line per dialog or control.
template <typename... Fields>
std::string Line(const Fields&... fields) {
  std::ostringstream line;
  ((line << fields << ' '), ...);
  return line.str();
}

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

// A control's class, given by name (as windres writes it) or as one of the
// system's class numbers, in upper case.
std::string ClassName(std::string given) {
  if (given == "#128") return "BUTTON";
  if (given == "#129") return "EDIT";
  if (given == "#130") return "STATIC";
  for (char& c : given) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return given;
}

// An extended dialog template (DLGTEMPLATEEX and its DLGITEMTEMPLATEEX):
// the dialog's line, then its controls' lines.
std::vector<std::string> ReadDialog(const uint8_t* data, size_t size) {
  ResourceReader in(data, size);
  EXPECT_EQ(in.Take<uint16_t>(), 1);       // version
  EXPECT_EQ(in.Take<uint16_t>(), 0xFFFF);  // the extended template's signature
  in.Skip(8);                              // help id, extended style
  // A property page: a child window with a caption for its tab.
  const auto style = in.Take<uint32_t>();
  EXPECT_EQ(style & (WS_CHILD | WS_CAPTION | DS_SETFONT),
            static_cast<uint32_t>(WS_CHILD | WS_CAPTION | DS_SETFONT));
  const uint16_t count = in.Take<uint16_t>();
  in.Skip(4);  // x, y
  const auto width = in.Take<int16_t>(), height = in.Take<int16_t>();
  in.Text();  // menu
  in.Text();  // window class
  const std::string caption = in.Text();
  const auto points = in.Take<uint16_t>();
  in.Skip(4);  // weight, italic, character set
  std::vector<std::string> lines = {
      Line(Quoted(caption), Quoted(in.Text()), points, width, height)};
  for (uint16_t i = 0; i < count; ++i) {
    in.AlignToDword();
    in.Skip(8);  // help id, extended style
    const auto controlStyle = in.Take<uint32_t>();
    const auto x = in.Take<int16_t>(), y = in.Take<int16_t>(), w = in.Take<int16_t>(),
               h = in.Take<int16_t>();
    const auto id = static_cast<int32_t>(in.Take<uint32_t>());
    const std::string className = ClassName(in.Text());
    const std::string text = in.Text();
    in.Skip(in.Take<uint16_t>());  // creation data
    lines.push_back(Line(id, Quoted(text), x, y, w, h, className, controlStyle));
  }
  return lines;
}

// What the framework's control becomes in a Windows dialog: its class, and
// its style as the resource compiler writes it (a label is an LTEXT, which
// also ends a group).
std::pair<std::string, uint32_t> WindowsControl(const platform::DialogControl& control) {
  uint32_t style = WS_CHILD | WS_VISIBLE;
  if ((control.style & platform::kStyleGroupStart) != 0) style |= WS_GROUP;
  if ((control.style & platform::kStyleTabStop) != 0) style |= WS_TABSTOP;
  if ((control.style & platform::kStyleBorder) != 0) style |= WS_BORDER;
  if ((control.style & platform::kStyleAutoHScroll) != 0) style |= ES_AUTOHSCROLL;
  switch (control.kind) {
    case ControlKind::kGroupBox:
      return {"BUTTON", style | BS_GROUPBOX};
    case ControlKind::kRadioButton:
      return {"BUTTON",
              style | ((control.style & platform::kStyleAutoRadio) != 0 ? BS_AUTORADIOBUTTON
                                                                        : BS_RADIOBUTTON)};
    case ControlKind::kLabel:
      return {"STATIC", style | SS_LEFT | WS_GROUP};
    case ControlKind::kEditBox:
      return {"EDIT", style | ES_LEFT};
  }
  return {};
}

// The framework's dialog in the lines ReadDialog gives.
std::vector<std::string> Expected(const platform::DialogTemplate& dialog) {
  std::vector<std::string> lines = {Line(Quoted(dialog.caption), Quoted(dialog.fontName),
                                         dialog.pointSize, dialog.width, dialog.height)};
  for (const platform::DialogControl& c : dialog.controls) {
    const auto [className, style] = WindowsControl(c);
    lines.push_back(Line(c.id, Quoted(c.text), c.x, c.y, c.width, c.height, className, style));
  }
  return lines;
}

class XseReaderResourcesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    module_ = ::LoadLibraryExW(ModulePath().c_str(), nullptr,
                               LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    ASSERT_NE(module_, nullptr) << XSE_TEST_READER_MODULE << ": error " << ::GetLastError();
  }
  void TearDown() override {
    if (module_ != nullptr) ::FreeLibrary(module_);
  }
  HMODULE module_ = nullptr;
};

TEST_F(XseReaderResourcesTest, DialogsInTheModuleAreTheFrameworksTemplates) {
  const auto& dialogs = xsereader::ModuleResources().dialogs;
  ASSERT_FALSE(dialogs.empty());
  for (const platform::DialogTemplate& expected : dialogs) {
    SCOPED_TRACE(expected.id);
    HRSRC found =
        ::FindResourceW(module_, MAKEINTRESOURCEW(expected.id), MAKEINTRESOURCEW(5));  // RT_DIALOG
    ASSERT_NE(found, nullptr);
    const auto* data = static_cast<const uint8_t*>(::LockResource(::LoadResource(module_, found)));
    EXPECT_EQ(ReadDialog(data, ::SizeofResource(module_, found)), Expected(expected));
  }
}

TEST_F(XseReaderResourcesTest, StringTableHoldsTheFrameworksStrings) {
  const auto& strings = xsereader::ModuleResources().strings;
  ASSERT_FALSE(strings.empty());
  for (const platform::StringResource& expected : strings) {
    wchar_t text[256] = {};
    const int length = ::LoadStringW(module_, static_cast<UINT>(expected.id), text, 256);
    EXPECT_EQ(platform::NarrowToUtf8(std::wstring(text, static_cast<size_t>(length))),
              expected.text)
        << expected.id;
  }
}

std::string VersionValue(const std::vector<uint8_t>& info, const std::wstring& name) {
  void* value = nullptr;
  UINT length = 0;
  const std::wstring path = L"\\StringFileInfo\\040904B0\\" + name;
  if (!::VerQueryValueW(info.data(), path.c_str(), &value, &length) || length == 0) return {};
  return platform::NarrowToUtf8(std::wstring(static_cast<const wchar_t*>(value), length - 1));
}

TEST(XseReaderVersionTest, ModuleSaysWhatItIsAndItsVersion) {
  const std::wstring path = ModulePath();
  DWORD ignored = 0;
  std::vector<uint8_t> info(::GetFileVersionInfoSizeW(path.c_str(), &ignored));
  ASSERT_FALSE(info.empty());
  ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(info.size()), info.data()));
  EXPECT_EQ(VersionValue(info, L"ProductName"), "XSEReader");
  EXPECT_EQ(VersionValue(info, L"OriginalFilename"), "xsereader.dll");
  EXPECT_EQ(VersionValue(info, L"FileVersion"), XSE_TEST_PROJECT_VERSION);
  EXPECT_EQ(VersionValue(info, L"ProductVersion"), XSE_TEST_PROJECT_VERSION);
  EXPECT_NE(VersionValue(info, L"FileDescription"), "");

  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(::VerQueryValueW(info.data(), L"\\", &value, &length));
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
  const std::string numbers = std::to_string(fixed->dwFileVersionMS >> 16) + "." +
                              std::to_string(fixed->dwFileVersionMS & 0xFFFF) + "." +
                              std::to_string(fixed->dwFileVersionLS >> 16);
  EXPECT_EQ(numbers, XSE_TEST_PROJECT_VERSION);
  EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
}

}  // namespace
