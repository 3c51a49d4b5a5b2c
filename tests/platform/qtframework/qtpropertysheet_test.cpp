// The settings page as real Qt widgets, driven as a user would: clicks and
// typing on the offscreen platform.
#include "platform/qtframework/qtpropertysheet.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFontInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QtTest/QTest>
#include <optional>

#include "interpreters/xsereader/xsereaderresources.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "platform/framework/resources.h"
#include "platform/qtframework/qtmessagebox.h"

// fontconfig, under Qt's font database, keeps allocations for the life of
// the process that LeakSanitizer reports; nothing else is excused.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
// Qt hands work to its own thread pool (painting, the message box); Qt is
// not built for ThreadSanitizer, which then sees races inside it. Only
// reports with a frame in a Qt library are excused.
extern "C" const char* __tsan_default_suppressions() {
  return "race:libQt6Core.so\nrace:libQt6Gui.so\nrace:libQt6Widgets.so\n";
}

namespace {

using namespace xsereader;
using platform::qt::QtPropertySheet;

class QtSettingsPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // One application for the whole run, never destroyed: at exit Qt's own
    // globals go first, and an application torn down after them crashes.
    static int argc = 3;
    static char name[] = "test_qtframework", option[] = "-platform", value[] = "offscreen";
    static char* argv[] = {name, option, value, nullptr};
    [[maybe_unused]] static auto* app = new QApplication(argc, argv);
    ASSERT_TRUE(platform::InitExtensionModule(module_, &module_, ModuleResources()));
    platform::AddToResourceChain(module_);
    page_.emplace(nullptr);  // after the resources: the page takes its caption from them
  }
  void TearDown() override {
    sheet_.reset();
    page_.reset();
    platform::TermExtensionModule(module_);
  }

  QtPropertySheet& Show() {
    sheet_ = QtPropertySheet::Open(*page_);
    EXPECT_NE(sheet_, nullptr);
    sheet_->show();
    return *sheet_;
  }
  template <typename Widget>
  Widget* Control(int32_t id) {
    return qobject_cast<Widget*>(sheet_->control(id));
  }
  void Type(int32_t id, const QString& text) {
    QLineEdit* edit = Control<QLineEdit>(id);
    edit->selectAll();
    QTest::keyClicks(edit, text);
  }

  platform::ExtensionModule module_;
  std::optional<ZElacSettingsDlg> page_;
  std::unique_ptr<QtPropertySheet> sheet_;
};

// The values a page shows and how OK takes them back, an intensity out of
// range included, are pinned through `xse settings --press`.
TEST_F(QtSettingsPageTest, FreshPageShowsTheTemplateAtItsPlaces) {
  QtPropertySheet& sheet = Show();
  EXPECT_EQ(sheet.windowTitle().toStdString(), "Elac settings");
  EXPECT_EQ(Control<QLabel>(kIdcMeanValueLabel)->text().toStdString(), "Mean value:");

  // "MS Sans Serif" is not on Linux: the page shows DejaVu Sans at 8 points.
  EXPECT_EQ(QFontInfo(sheet.pageFont()).family().toStdString(), "DejaVu Sans");
  const platform::qt::DialogBaseUnits base = sheet.baseUnits();
  EXPECT_GT(base.x, 3);
  EXPECT_GT(base.y, 8);
  EXPECT_EQ(sheet.pageWidget()->size(), QSize(platform::qt::DialogToPixels(200, base.x, 4),
                                              platform::qt::DialogToPixels(80, base.y, 8)));
  EXPECT_EQ(sheet.control(kIdcMeanValue)->geometry(),
            platform::qt::DialogRectToPixels(112, 43, 40, 14, base));
  const auto* group =
      sheet.pageWidget()->findChild<QGroupBox*>(QString(), Qt::FindDirectChildrenOnly);
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(group->title().toStdString(), "Intensity ctrl");
}

TEST_F(QtSettingsPageTest, UsersChoicesComeBackThroughOk) {
  Show();
  QTest::mouseClick(Control<QRadioButton>(kIdcIntensityAutomatic), Qt::LeftButton);
  EXPECT_FALSE(Control<QRadioButton>(kIdcIntensityNone)->isChecked());
  Type(kIdcLateralGain, "0.5");
  Type(kIdcMeanValue, "12");
  QTest::mouseClick(sheet_->okButton(), Qt::LeftButton);
  EXPECT_EQ(sheet_->result(), QDialog::Accepted);
  EXPECT_FALSE(sheet_->isVisible());
  EXPECT_EQ(page_->intensityControl(), 2);
  EXPECT_EQ(page_->lateralGain(), 0.5f);
  EXPECT_EQ(page_->meanValue(), 12);
}

TEST_F(QtSettingsPageTest, TextThatDoesNotParseKeepsThePageOpenWithTheMessage) {
  const platform::qt::QtMessageBoxScope boxes;
  Show();
  Type(kIdcLateralGain, "abc");
  // The framework's box is modal: read it and close it from inside its loop.
  QString shown;
  QTimer closer;
  QObject::connect(&closer, &QTimer::timeout, [&] {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      shown = box->windowTitle() + ": " + box->text();
      box->accept();
    }
  });
  closer.start(10);
  QTest::mouseClick(sheet_->okButton(), Qt::LeftButton);
  closer.stop();
  EXPECT_EQ(shown.toStdString(), "Elac settings: Please enter a number.");
  EXPECT_TRUE(sheet_->isVisible());
  EXPECT_TRUE(page_->IsOpen());
}

TEST_F(QtSettingsPageTest, PageShowsItsValuesAndCancelKeepsThem) {
  page_->SetValues(1, -1.25f, -3);
  Show();
  EXPECT_TRUE(Control<QRadioButton>(kIdcIntensityManual)->isChecked());
  EXPECT_EQ(Control<QLineEdit>(kIdcLateralGain)->text().toStdString(), "-1.25");
  EXPECT_EQ(Control<QLineEdit>(kIdcMeanValue)->text().toStdString(), "-3");
  Type(kIdcMeanValue, "99");
  QTest::mouseClick(sheet_->cancelButton(), Qt::LeftButton);
  EXPECT_EQ(sheet_->result(), QDialog::Rejected);
  EXPECT_FALSE(page_->IsOpen());
  EXPECT_EQ(page_->meanValue(), -3);
}

}  // namespace
