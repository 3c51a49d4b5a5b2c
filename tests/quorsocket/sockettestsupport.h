// A test fixture for the socket layer: each test traces verbosely into its
// own folder, which is also QUORHOME for the error log; message boxes are
// collected instead of shown; sockets made by the test are closed after it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "libsys/libsystestsupport.h"
#include "libsys/ztracelogfile.h"
#include "platform/processinfo.h"
#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace sockettest {

class SocketTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(dir_.path() / "log");
    std::filesystem::current_path(dir_.path());
    ASSERT_TRUE(TraceStart(2, traceName_.c_str()));
  }
  void TearDown() override {
    TraceReset();
    std::filesystem::current_path(savedFolder_);
    for (const platform::SocketHandle socket : sockets_) platform::CloseSocket(socket);
  }

  std::vector<std::string> TraceLines() const {
    return libsystest::ReadLines(dir_.path() / "log" / traceName_);
  }
  size_t CountLinesEndingWith(const std::string& text) const {
    size_t count = 0;
    for (const std::string& line : TraceLines())
      if (line.ends_with(text)) ++count;
    return count;
  }
  std::string ErrorLog() const { return xsetest::ReadTextFile(dir_.path() / "log" / "error"); }

  platform::SocketHandle Keep(platform::SocketHandle socket) {
    sockets_.push_back(socket);
    return socket;
  }
  // A loopback port that nobody listens on.
  static uint16_t ClosedPort() {
    uint16_t port = 0;
    platform::CloseSocket(platform::ListenOnLoopback(port));
    return port;
  }

  std::filesystem::path savedFolder_ = std::filesystem::current_path();
  xsetest::TempDir dir_;
  libsystest::ScopedEnvironment quorhome_{"QUORHOME", dir_.Folder().c_str()};
  std::string traceName_ = "socket." + std::to_string(platform::CurrentProcessId()) + ".log";
  libsystest::CollectedBoxes boxes_;
  std::vector<platform::SocketHandle> sockets_;
};

}  // namespace sockettest
