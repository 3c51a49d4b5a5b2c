// The module as the host sees it: loaded from its file, driven through the
// entry points it exports and the host's classes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "interpreters/xsereader/xsereadertestsupport.h"
#include "platform/framework/propertypage.h"
#include "platform/framework/resources.h"
#include "platform/messagebox.h"
#include "support/tempdir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using xsetest::EventRecorder;
using xsetest::PositionFrames;
using xsetest::TempDir;

class ModuleTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(module_.Load(XSE_TEST_READER_MODULE)) << module_.error(); }

  using ReaderPtr = std::unique_ptr<CReader, void (*)(CReader*)>;
  ReaderPtr NewReader() {
    return ReaderPtr(module_.entry().createReader(0), module_.entry().destroyReader);
  }
  // Runs the file list on the reader thread, as the host does.
  int32_t RunFiles(CReader& reader, EventRecorder& recorder) {
    reader.SetObserver(&recorder);
    EXPECT_EQ(reader.StartReaderThread(CReader::ReaderRun::kFileList), 1);
    return reader.JoinReaderThread();
  }

  XseReaderModule module_;
  TempDir dir_;
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
  module_.Unload();
  EXPECT_EQ(platform::FindDialogTemplate(19001), nullptr);
  EXPECT_EQ(platform::LoadResourceString(20112), std::nullopt);
  EXPECT_EQ(platform::CreateObjectByName("ZElacSettingsDlg"), nullptr);
}

TEST_F(ModuleTest, BoxesShownInsideTheModuleReachTheHostsHandler) {
  std::vector<std::string> boxes;
  platform::ScopedMessageBoxHandler handler(
      [&boxes](const std::string&, const std::string& text) { boxes.push_back(text); });
  platform::CPropertyPage* page = module_.entry().createSettingsPage(nullptr);
  ASSERT_NE(page, nullptr);
  ASSERT_TRUE(page->Create());
  page->SetControlText(19007, "abc");
  EXPECT_FALSE(page->PressOK());
  module_.entry().destroySettingsPage(page);
  EXPECT_THAT(boxes, ElementsAre("Please enter a number."));
}

TEST_F(ModuleTest, EntryIgnoresThreadReasonsAndRefusesASecondAttach) {
  const auto entry = module_.entry().moduleEntry;
  EXPECT_EQ(entry(nullptr, kModuleThreadAttach, nullptr), 1);
  EXPECT_EQ(entry(nullptr, kModuleThreadDetach, nullptr), 1);
  int otherHandle = 0;
  EXPECT_EQ(entry(&otherHandle, kModuleProcessAttach, nullptr), 0);
  EXPECT_NE(platform::FindDialogTemplate(19001), nullptr);
}

TEST_F(ModuleTest, ThreeFilesWithTheMiddleOneMissing) {
  ReaderPtr reader = NewReader();
  ASSERT_NE(reader, nullptr);
  const std::string first = dir_.Write("first.xse", PositionFrames(3));
  const std::string third = dir_.Write("third.xse", PositionFrames(3));
  reader->fileList = {first, dir_.File("second.xse"), third};
  EventRecorder recorder;
  EXPECT_EQ(RunFiles(*reader, recorder), 0);
  EXPECT_THAT(recorder.outcomes(), ElementsAre("fileAdded " + first, "fileAdded " + third));
  EXPECT_EQ(reader->startTimeSet, 1);
}

TEST_F(ModuleTest, StopDuringAFileReportsHundredPercentAndNoOutcome) {
  ReaderPtr reader = NewReader();
  const std::string first = dir_.Write("first.xse", PositionFrames(100));
  const std::string second = dir_.Write("second.xse", PositionFrames(3));
  reader->fileList = {first, second};
  EventRecorder recorder;
  recorder.onProgress = [&reader](const CReader&, const CReader::ProgressStat& stat) {
    if (stat.percent > 0 && stat.percent < 100) reader->StopReader();
  };
  EXPECT_EQ(RunFiles(*reader, recorder), -1);
  const auto events = recorder.events();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_THAT(events.back(), ::testing::StartsWith("progress 100 "));
  EXPECT_THAT(reader->fileList, ElementsAre(second));
}

TEST_F(ModuleTest, EmptyListReturnsAtOnce) {
  ReaderPtr reader = NewReader();
  EventRecorder recorder;
  EXPECT_EQ(RunFiles(*reader, recorder), 0);
  EXPECT_THAT(recorder.events(), IsEmpty());
}

TEST_F(ModuleTest, PropertiesPageAndTimeThroughTheEntryPoints) {
  const XseReaderEntryPoints& entry = module_.entry();
  ReaderPtr reader = NewReader();
  std::unique_ptr<CReader::Properties, void (*)(CReader::Properties*)> properties(
      entry.createProperties(), entry.destroyProperties);
  ASSERT_NE(properties, nullptr);
  ZPropList list;
  properties->GetProperties(list);
  ASSERT_FALSE(list.entries().empty());
  EXPECT_EQ(list.entries()[0], (ZPropList::Entry{"XSE", -1}));
  properties->values = {1, 2, 3, 4, 5};
  entry.setupProperties(reader.get(), properties.get());
  EXPECT_THAT(reader->parameterBlock, ElementsAre(1, 2, 3, 4, 5));
  CReader::Properties foreign;
  foreign.values = {9, 9, 9, 9, 9};
  entry.setupProperties(reader.get(), &foreign);
  EXPECT_THAT(reader->parameterBlock, ElementsAre(1, 2, 3, 4, 5));

  reader->startTimeSec = 100;
  quor::SensorRec record;
  record.time = {101, 500000};
  EXPECT_EQ(entry.convertTime(reader.get(), &record), 1500);

  std::unique_ptr<platform::CPropertyPage, void (*)(platform::CPropertyPage*)> page(
      entry.createSettingsPage(reader.get()), entry.destroySettingsPage);
  ASSERT_NE(page, nullptr);
  ASSERT_TRUE(page->Create());
  EXPECT_TRUE(page->IsChecked(19004));
}

}  // namespace
