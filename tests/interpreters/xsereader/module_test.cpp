// The module as the host sees it: loaded from its file, driven through the
// entry points it exports and the host's classes. Its file runs on the
// reader thread are pinned through `xse run`, which loads it the same way.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/framework/propertypage.h"
#include "platform/framework/resources.h"
#include "platform/framework/wnd.h"
#include "platform/messagebox.h"

namespace {

using ::testing::ElementsAre;

// Objects made by the module, destroyed by it.
template <typename T>
std::unique_ptr<T, void (*)(T*)> Owned(T* object, void (*destroy)(T*)) {
  return {object, destroy};
}

class ModuleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(module_.Load(XSE_TEST_READER_MODULE)) << module_.error();
    reader_ = Owned(module_.entry().createReader(0), module_.entry().destroyReader);
    ASSERT_NE(reader_, nullptr);
  }

  XseReaderModule module_;
  std::unique_ptr<CReader, void (*)(CReader*)> reader_{nullptr, nullptr};
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
  reader_.reset();
  module_.Unload();
  EXPECT_EQ(platform::FindDialogTemplate(19001), nullptr);
  EXPECT_EQ(platform::LoadResourceString(20112), std::nullopt);
  EXPECT_EQ(platform::CreateObjectByName("ZElacSettingsDlg"), nullptr);
}

TEST_F(ModuleTest, BoxesShownInsideTheModuleReachTheHostsHandler) {
  std::vector<std::string> boxes;
  platform::ScopedMessageBoxHandler handler(
      [&boxes](const std::string&, const std::string& text) { boxes.push_back(text); });
  const auto page =
      Owned(module_.entry().createSettingsPage(nullptr), module_.entry().destroySettingsPage);
  ASSERT_NE(page, nullptr);
  ASSERT_TRUE(page->Create());
  page->SetControlText(19007, "abc");
  EXPECT_FALSE(page->PressOK());
  EXPECT_THAT(boxes, ElementsAre("Please enter a number."));
}

TEST_F(ModuleTest, PropertiesAndTimeThroughTheEntryPoints) {
  const XseReaderEntryPoints& entry = module_.entry();
  const auto properties = Owned(entry.createProperties(), entry.destroyProperties);
  ASSERT_NE(properties, nullptr);
  properties->values = {1, 2, 3, 4, 5};
  ZPropList list;
  properties->GetProperties(list);
  EXPECT_THAT(list.entries(),
              ElementsAre(ZPropList::Entry{"XSE", -1}, ZPropList::Entry{"Parameter 1", 1},
                          ZPropList::Entry{"Parameter 2", 2}, ZPropList::Entry{"Parameter 3", 3},
                          ZPropList::Entry{"Parameter 4", 4}, ZPropList::Entry{"Parameter 5", 5}));
  entry.setupProperties(reader_.get(), properties.get());
  EXPECT_THAT(reader_->parameterBlock, ElementsAre(1, 2, 3, 4, 5));
  // Properties from elsewhere change nothing.
  CReader::Properties foreign;
  foreign.values = {9, 9, 9, 9, 9};
  entry.setupProperties(reader_.get(), &foreign);
  EXPECT_THAT(reader_->parameterBlock, ElementsAre(1, 2, 3, 4, 5));
  reader_->startTimeSec = 100;
  quor::SensorRec record;
  record.time = {101, 500000};
  EXPECT_EQ(entry.convertTime(reader_.get(), &record), 1500);
}

}  // namespace
