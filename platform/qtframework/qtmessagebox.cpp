#include "platform/qtframework/qtmessagebox.h"

#include <QApplication>
#include <QMessageBox>
#include <QThread>
#include <cstdio>

namespace platform::qt {
namespace {

void ShowQtBox(const std::string& caption, const std::string& text) {
  QWidget* owner = QApplication::activeModalWidget();
  if (owner == nullptr) owner = QApplication::activeWindow();
  QMessageBox box(QMessageBox::Critical, QString::fromStdString(caption),
                  QString::fromStdString(text), QMessageBox::Ok, owner);
  box.exec();
}

}  // namespace

QtMessageBoxScope::QtMessageBoxScope() {
  // The previous handler is captured by value: it outlives this scope's
  // handler even when another thread is still inside it.
  MessageBoxHandler fallback = SetMessageBoxHandler(nullptr);
  previous_ = fallback;
  SetMessageBoxHandler([fallback](const std::string& caption, const std::string& text) {
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (app != nullptr && QThread::currentThread() == app->thread()) {
      ShowQtBox(caption, text);
    } else if (fallback) {
      fallback(caption, text);
    } else {
      std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
      std::fflush(stderr);
    }
  });
}

QtMessageBoxScope::~QtMessageBoxScope() { SetMessageBoxHandler(std::move(previous_)); }

}  // namespace platform::qt
