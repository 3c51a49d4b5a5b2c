// The module's Windows resources, as the system reads them from
// xsereader.dll, say what the framework's tables say: both are made from one
// description, by the build and then by the resource compiler.
#include "interpreters/xsereader/xsereaderresources.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <stdexcept>
#include <string>
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
    if (at_ + sizeof value > end_) throw std::out_of_range("past the resource's end");
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  std::string Text() {
    std::wstring text;
    for (wchar_t c = Take<wchar_t>(); c != L'\0'; c = Take<wchar_t>()) text += c;
    return platform::NarrowToUtf8(text);
  }
  // A name or a number: 0xFFFF and the number, else a text.
  std::string NameOrNumber() {
    if (Peek() == 0xFFFF) {
      Take<uint16_t>();
      return "#" + std::to_string(Take<uint16_t>());
    }
    return Text();
  }
  void AlignToDword() {
    while ((at_ - begin_) % 4 != 0) ++at_;
  }

 private:
  uint16_t Peek() {
    const uint8_t* at = at_;
    const auto value = Take<uint16_t>();
    at_ = at;
    return value;
  }
  const uint8_t* begin_;
  const uint8_t* at_;
  const uint8_t* end_;
};

struct ResourceControl {
  uint32_t style = 0;
  int16_t x = 0, y = 0, width = 0, height = 0;
  int32_t id = 0;
  std::string className;  // upper case: "BUTTON", "EDIT", "STATIC", ...
  std::string text;
};

struct ResourceDialog {
  uint32_t style = 0;
  int16_t width = 0, height = 0;
  std::string caption;
  uint16_t pointSize = 0;
  std::string fontName;
  std::vector<ResourceControl> controls;
};

// A control's class, given by name (as windres writes it) or as one of the
// system's class numbers, in upper case.
std::string ClassName(std::string given) {
  if (given == "#128") return "BUTTON";
  if (given == "#129") return "EDIT";
  if (given == "#130") return "STATIC";
  for (char& c : given) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return given;
}

// An extended dialog template (DLGTEMPLATEEX and its DLGITEMTEMPLATEEX).
ResourceDialog ReadDialog(const uint8_t* data, size_t size) {
  ResourceReader in(data, size);
  ResourceDialog dialog;
  EXPECT_EQ(in.Take<uint16_t>(), 1);       // version
  EXPECT_EQ(in.Take<uint16_t>(), 0xFFFF);  // the extended template's signature
  in.Take<uint32_t>();                     // help id
  in.Take<uint32_t>();                     // extended style
  dialog.style = in.Take<uint32_t>();
  const uint16_t count = in.Take<uint16_t>();
  in.Take<int16_t>();
  in.Take<int16_t>();
  dialog.width = in.Take<int16_t>();
  dialog.height = in.Take<int16_t>();
  in.NameOrNumber();  // menu
  in.NameOrNumber();  // window class
  dialog.caption = in.Text();
  if ((dialog.style & DS_SETFONT) != 0) {
    dialog.pointSize = in.Take<uint16_t>();
    in.Take<uint16_t>();  // weight
    in.Take<uint8_t>();   // italic
    in.Take<uint8_t>();   // character set
    dialog.fontName = in.Text();
  }
  for (uint16_t i = 0; i < count; ++i) {
    in.AlignToDword();
    ResourceControl control;
    in.Take<uint32_t>();  // help id
    in.Take<uint32_t>();  // extended style
    control.style = in.Take<uint32_t>();
    control.x = in.Take<int16_t>();
    control.y = in.Take<int16_t>();
    control.width = in.Take<int16_t>();
    control.height = in.Take<int16_t>();
    control.id = static_cast<int32_t>(in.Take<uint32_t>());
    control.className = ClassName(in.NameOrNumber());
    control.text = in.NameOrNumber();
    const uint16_t extra = in.Take<uint16_t>();
    for (uint16_t b = 0; b < extra; ++b) in.Take<uint8_t>();
    dialog.controls.push_back(control);
  }
  return dialog;
}

// What the framework's control becomes in a Windows dialog: its class, and
// its style as the resource compiler writes it (a label is an LTEXT, which
// also ends a group).
struct WindowsControl {
  std::string className;
  uint32_t style;
};

WindowsControl Expected(const platform::DialogControl& control) {
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

LPCWSTR ResourceId(int32_t id) {
  return reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(static_cast<uint16_t>(id)));
}

TEST_F(XseReaderResourcesTest, DialogsInTheModuleAreTheFrameworksTemplates) {
  const auto& dialogs = xsereader::ModuleResources().dialogs;
  ASSERT_FALSE(dialogs.empty());
  for (const platform::DialogTemplate& expected : dialogs) {
    SCOPED_TRACE(expected.id);
    HRSRC found = ::FindResourceW(module_, ResourceId(expected.id), ResourceId(5));  // RT_DIALOG
    ASSERT_NE(found, nullptr);
    const auto* data = static_cast<const uint8_t*>(::LockResource(::LoadResource(module_, found)));
    const ResourceDialog dialog = ReadDialog(data, ::SizeofResource(module_, found));

    // A property page: a child window with a caption for its tab.
    EXPECT_EQ(dialog.style & (WS_CHILD | WS_CAPTION | DS_SETFONT),
              static_cast<uint32_t>(WS_CHILD | WS_CAPTION | DS_SETFONT));
    EXPECT_EQ(dialog.caption, expected.caption);
    EXPECT_EQ(dialog.fontName, expected.fontName);
    EXPECT_EQ(dialog.pointSize, expected.pointSize);
    EXPECT_EQ(dialog.width, expected.width);
    EXPECT_EQ(dialog.height, expected.height);
    ASSERT_EQ(dialog.controls.size(), expected.controls.size());
    for (size_t i = 0; i < dialog.controls.size(); ++i) {
      const ResourceControl& control = dialog.controls[i];
      const platform::DialogControl& want = expected.controls[i];
      SCOPED_TRACE(want.text);
      EXPECT_EQ(control.id, want.id);
      EXPECT_EQ(control.text, want.text);
      EXPECT_EQ(control.x, want.x);
      EXPECT_EQ(control.y, want.y);
      EXPECT_EQ(control.width, want.width);
      EXPECT_EQ(control.height, want.height);
      const WindowsControl windows = Expected(want);
      EXPECT_EQ(control.className, windows.className);
      EXPECT_EQ(control.style, windows.style) << std::hex << control.style;
    }
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
