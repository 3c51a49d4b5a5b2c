// Child processes with CreateProcessW. The child inherits exactly the three
// standard handles made for it; its command line is quoted so that the C
// runtime's parser gives back each argument as it was.
#include "support/childprocess.h"

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
#include "platform/windows/win32error.h"

namespace xsetest {

namespace {

HANDLE AsHandle(intptr_t value) { return reinterpret_cast<HANDLE>(value); }

// One argument as CommandLineToArgvW and the C runtime read it back:
// quotes around it, a quote escaped, and backslashes doubled only where
// they come before a quote.
std::wstring QuoteArgument(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos)
    return argument;
  std::wstring quoted = L"\"";
  size_t backslashes = 0;
  for (wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted += c;
  }
  quoted.append(backslashes * 2, L'\\');
  return quoted + L"\"";
}

bool SameName(std::wstring_view a, std::wstring_view b) {
  return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

// The test's environment with `changes` applied, as a Unicode environment
// block: "NAME=value" texts, each ended by a null, and a null at the end.
std::wstring ChildEnvironment(const EnvironmentList& changes) {
  std::wstring block;
  wchar_t* strings = ::GetEnvironmentStringsW();
  for (const wchar_t* entry = strings; entry != nullptr && *entry != L'\0';) {
    const std::wstring_view text(entry);
    entry += text.size() + 1;
    // Entries such as "=C:=C:\\work" name a drive's folder: their name
    // starts after the first '='.
    const std::wstring_view name = text.substr(0, text.find(L'=', 1));
    bool changed = false;
    for (const auto& change : changes)
      changed = changed || SameName(platform::WidenUtf8(change.first), name);
    if (!changed) block.append(text).push_back(L'\0');
  }
  if (strings != nullptr) ::FreeEnvironmentStringsW(strings);
  for (const auto& [name, value] : changes) {
    if (value) block.append(platform::WidenUtf8(name + "=" + *value)).push_back(L'\0');
  }
  block.push_back(L'\0');
  return block;
}

HANDLE OpenInheritable(const std::wstring& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return ::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &inherit, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// One start of the child: its process and, with outputToPipe, the pipe's
// read end; or why it was not made.
struct Start {
  HANDLE process = nullptr;
  DWORD id = 0;
  HANDLE pipe = nullptr;
  std::string error;
};

Start StartChild(const std::wstring& program, std::wstring commandLine, std::wstring environment,
                 const ChildOptions& options, const std::filesystem::path& capture) {
  Start start;
  const std::wstring workDir = platform::WidenUtf8(options.workDir);
  HANDLE input =
      OpenInheritable(options.inputFrom.empty() ? L"NUL" : platform::WidenUtf8(options.inputFrom),
                      GENERIC_READ, OPEN_EXISTING);
  HANDLE error = OpenInheritable((capture / "err").wstring(), GENERIC_WRITE, CREATE_ALWAYS);
  HANDLE output = INVALID_HANDLE_VALUE;
  if (options.outputToPipe) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    if (::CreatePipe(&readEnd, &writeEnd, &inherit, 0)) {
      ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
      start.pipe = readEnd;
      output = writeEnd;
    }
  } else {
    output = OpenInheritable((capture / "out").wstring(), GENERIC_WRITE, CREATE_ALWAYS);
  }
  if (input == INVALID_HANDLE_VALUE || output == INVALID_HANDLE_VALUE ||
      error == INVALID_HANDLE_VALUE) {
    start.error =
        "no standard input, output or error: " + platform::Win32ErrorText(::GetLastError());
  } else {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input;
    startup.hStdOutput = output;
    startup.hStdError = error;
    PROCESS_INFORMATION process{};
    // A process group of its own: Ctrl-Break can then be sent to the child
    // alone.
    if (::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                         CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_PROCESS_GROUP, environment.data(),
                         workDir.empty() ? nullptr : workDir.c_str(), &startup, &process)) {
      ::CloseHandle(process.hThread);
      start.process = process.hProcess;
      start.id = process.dwProcessId;
    } else {
      start.error = platform::Win32ErrorText(::GetLastError());
    }
  }
  for (HANDLE handle : {input, output, error}) {
    if (handle != INVALID_HANDLE_VALUE) ::CloseHandle(handle);
  }
  if (start.process == nullptr && start.pipe != nullptr) {
    ::CloseHandle(start.pipe);
    start.pipe = nullptr;
  }
  return start;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const ChildOptions& options) {
  const std::wstring programW = platform::WidenUtf8(program);
  std::wstring commandLine = QuoteArgument(programW);
  for (const std::string& arg : args) commandLine += L" " + QuoteArgument(platform::WidenUtf8(arg));
  const std::wstring environment = ChildEnvironment(options.environment);
  // Under Wine a busy machine now and then makes a process fail to start at
  // once; the next try, a moment later, starts it.
  Start start;
  for (int attempt = 0; attempt < 3 && start.process == nullptr; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(std::chrono::milliseconds(200));
    start = StartChild(programW, commandLine, environment, options, capture_.path());
  }
  if (start.process == nullptr) {
    result_ = ToolResult{-1, "", "cannot start " + program + ": " + start.error + "\n"};
    return;
  }
  process_ = reinterpret_cast<intptr_t>(start.process);
  id_ = start.id;
  if (start.pipe != nullptr) pipe_ = reinterpret_cast<intptr_t>(start.pipe);
  started_ = true;
}

ChildProcess::~ChildProcess() {
  if (started_ && !result_) {
    ::TerminateProcess(AsHandle(process_), 1);
    Wait();
  }
  if (started_) ::CloseHandle(AsHandle(process_));
  if (pipe_ != -1) ::CloseHandle(AsHandle(pipe_));
}

bool ChildProcess::Interrupt() {
  return started_ && !result_ && ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, id_) != 0;
}

bool ChildProcess::DrainPipe(std::string& into, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    DWORD available = 0;
    if (!::PeekNamedPipe(AsHandle(pipe_), nullptr, 0, nullptr, &available, nullptr)) return false;
    if (available > 0) {
      std::string chunk(std::min<DWORD>(available, 65536), '\0');
      DWORD count = 0;
      if (!::ReadFile(AsHandle(pipe_), chunk.data(), static_cast<DWORD>(chunk.size()), &count,
                      nullptr))
        return false;
      into.append(chunk, 0, count);
      return true;
    }
    if (std::chrono::steady_clock::now() >= deadline) return true;
    ::Sleep(2);
  }
}

ToolResult ChildProcess::Wait(std::chrono::milliseconds timeout) {
  if (result_) return *result_;
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  HANDLE process = AsHandle(process_);
  bool ended = false, killed = false, pipeOpen = pipe_ != -1;
  while (!ended) {
    // The pipe is emptied while waiting: a child that fills it would wait
    // for the test otherwise.
    if (pipeOpen) pipeOpen = DrainPipe(pipedOut_, std::chrono::milliseconds(0));
    ended = ::WaitForSingleObject(process, 10) == WAIT_OBJECT_0;
    if (!ended && !killed && std::chrono::steady_clock::now() > deadline) {
      ::TerminateProcess(process, 1);
      killed = true;
    }
  }
  const auto drainEnd = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (pipeOpen && std::chrono::steady_clock::now() < drainEnd)
    pipeOpen = DrainPipe(pipedOut_, std::chrono::milliseconds(100));
  DWORD status = 0;
  ToolResult result;
  result.status = !killed && ::GetExitCodeProcess(process, &status) ? static_cast<int>(status) : -1;
  result.out = pipe_ != -1 ? pipedOut_ : ReadWholeFile(capture_.path() / "out");
  result.err = ReadWholeFile(capture_.path() / "err");
  result_ = result;
  return result;
}

}  // namespace xsetest
