// The module as the host sees it: loaded from its file, driven through the
// entry points it exports and the host's classes. Its file runs on the
// reader thread are pinned through `xse run`, which loads it the same way.
#include <gtest/gtest.h>

#include <memory>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/framework/propertypage.h"
#include "platform/framework/resources.h"
#include "platform/framework/wnd.h"
#include "platform/messagebox.h"

namespace {

// A reader made by the module, destroyed by it.
using ModuleReader = std::unique_ptr<CReader, void (*)(CReader*)>;

class ModuleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(module_.Load(XSE_TEST_READER_MODULE)) << module_.error();
    reader_ = ModuleReader(module_.entry().createReader(0), module_.entry().destroyReader);
    ASSERT_NE(reader_, nullptr);
  }

  XseReaderModule module_;
  ModuleReader reader_{nullptr, nullptr};
};

TEST_F(ModuleTest, ResourcesAreFoundWhileTheModuleIsLoaded) {
  const platform::DialogTemplate* dialog = platform::FindDialogTemplate(19001);
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->caption, "Elac settings");
  EXPECT_EQ(platform::LoadResourceString(20112), "Linear TVG");
  {
    const auto page = platform::CreateObjectByName("ZElacSettingsDlg");
    ASSERT_NE(dynamic_cast<platform::CPropertyPage*>(page.get()), nullptr);
    EXPECT_NE(dynamic_cast<platform::CWnd*>(platform::CreateObjectByName("ElacConnection").get()),
              nullptr);
    EXPECT_NE(dynamic_cast<platform::CWnd*>(platform::CreateObjectByName("CSocketClient").get()),
              nullptr);
  }
  // The look-ups share one walk of the chain: one of them shows the module gone.
  reader_.reset();
  module_.Unload();
  EXPECT_EQ(platform::FindDialogTemplate(19001), nullptr);
}

// An attach whose framework registration fails (here: the module is
// registered already; the reasons are the resource chain's) answers 0 and
// leaves the module's resources registered.
TEST_F(ModuleTest, AttachThatFailsAnswersZeroAndChangesNothing) {
  const auto* handle = reinterpret_cast<const void*>(module_.entry().moduleEntry);
  EXPECT_EQ(module_.entry().moduleEntry(handle, kModuleProcessAttach, nullptr), 0);
  EXPECT_EQ(module_.entry().moduleEntry(handle, kModuleThreadAttach, nullptr), 1);
  EXPECT_EQ(platform::LoadResourceString(20113), "dB/km");
}

}  // namespace
