// The module as the host sees it: loaded from its file, driven through the
// entry points it exports and the host's classes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "interpreters/xsereader/xsereadertestsupport.h"
#include "platform/framework/propertypage.h"
#include "platform/framework/resources.h"
#include "platform/messagebox.h"
#include "support/tempdir.h"

namespace {

using ::testing::ElementsAre;
using xsetest::PositionFrames;

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

  // Runs `files` on the reader thread, as the host does.
  int32_t RunFiles(std::list<std::string> files) {
    reader_->fileList = std::move(files);
    reader_->SetObserver(&recorder_);
    EXPECT_EQ(reader_->StartReaderThread(CReader::ReaderRun::kFileList), 1);
    return reader_->JoinReaderThread();
  }

  xsetest::TempDir dir_;
  XseReaderModule module_;
  std::unique_ptr<CReader, void (*)(CReader*)> reader_{nullptr, nullptr};
  xsetest::EventRecorder recorder_;
};

TEST_F(ModuleTest, ResourcesAreFoundWhileTheModuleIsLoaded) {
  const platform::DialogTemplate* dialog = platform::FindDialogTemplate(19001);
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->caption, "Elac settings");
  EXPECT_EQ(platform::LoadResourceString(20112), "Linear TVG");
  {
    const auto page = platform::CreateObjectByName("ZElacSettingsDlg");
    ASSERT_NE(dynamic_cast<platform::CPropertyPage*>(page.get()), nullptr);
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

// The first file's records fix the start time; a last frame cut short
// still leaves its file read.
TEST_F(ModuleTest, ThreeFilesWithTheMiddleOneMissing) {
  const std::string first = dir_.Write("first.xse", PositionFrames(3, 1660867200, 250000));
  auto cut = PositionFrames(3);
  cut.resize(cut.size() - 10);
  const std::string third = dir_.Write("third.xse", cut);
  EXPECT_EQ(RunFiles({first, dir_.File("second.xse"), third}), 0);
  EXPECT_THAT(recorder_.outcomes(), ElementsAre("fileAdded " + first, "fileAdded " + third));
  EXPECT_EQ(reader_->startTimeSet, 1);
  EXPECT_EQ(reader_->startTimeSec, 1660867200);
  EXPECT_EQ(reader_->startTimeMs, 250);
}

TEST_F(ModuleTest, StopDuringAFileReportsHundredPercentAndNoOutcome) {
  const std::string second = dir_.Write("second.xse", PositionFrames(3));
  recorder_.onProgress = [this](const CReader&, const CReader::ProgressStat& stat) {
    if (stat.percent > 0 && stat.percent < 100) reader_->StopReader();
  };
  EXPECT_EQ(RunFiles({dir_.Write("first.xse", PositionFrames(100)), second}), -1);
  const auto events = recorder_.events();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_THAT(events.back(), ::testing::StartsWith("progress 100 "));
  EXPECT_THAT(reader_->fileList, ElementsAre(second));
}

TEST_F(ModuleTest, EmptyListReturnsAtOnce) {
  EXPECT_EQ(RunFiles({}), 0);
  EXPECT_TRUE(recorder_.events().empty());
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
