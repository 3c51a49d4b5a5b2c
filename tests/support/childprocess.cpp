// The parts of the child runner that are the same on every system.
#include "support/childprocess.h"

namespace xsetest {

std::string ChildProcess::ReadOutput(size_t limit, std::chrono::milliseconds timeout) {
  if (pipe_ == -1) return {};
  if (pipedOut_.empty()) DrainPipe(pipedOut_, timeout);
  std::string taken = pipedOut_.substr(0, limit);
  pipedOut_.erase(0, taken.size());
  return taken;
}

ToolResult RunChild(const std::string& program, const std::vector<std::string>& args,
                    const ChildOptions& options) {
  return ChildProcess(program, args, options).Wait();
}

}  // namespace xsetest
