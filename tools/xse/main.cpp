// xse: decode, inspect and produce XSE multibeam data.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/programarguments.h"
#include "tools/xse/commands.h"

namespace {

constexpr const char* kUsage =
    "usage: xse COMMAND [ARGS...]\n"
    "\n"
    "commands:\n"
    "  gen OUT.xse        write a synthetic survey\n"
    "  info FILE...       summarise each file: frames, records, pings, time, positions\n"
    "  dump FILE...       write the decoded records as JSON lines or a CSV table\n"
    "  soundings FILE...  every beam as a point on the earth (CSV or xyz)\n"
    "  grid FILE...       bin the soundings into a depth grid (GeoTIFF or BAG)\n"
    "  plot FILE          draw a survey's track, swath or sidescan into a PNG\n"
    "  run FILE...        read the files through the reader plug-in, as the host does\n"
    "  check FILE...      ask the reader plug-in whether it can read each file\n"
    "  serve FILE         play a file as a live XSE data server on 127.0.0.1\n"
    "  record             record live XSE servers to disk, every byte\n"
    "  settings           show the reader's settings page\n"
    "\n"
    "Run 'xse COMMAND --help' for the options of a command, 'xse --version' for the version.\n";

}  // namespace

int main(int argc, char** argv) {
  // Output is the same bytes on every system, and file names in the
  // arguments are UTF-8 as the platform layer takes them.
  platform::UseBinaryStandardStreams();
  const std::vector<std::string> arguments = platform::ProgramArguments(argc, argv);
  std::vector<std::string_view> args;
  for (size_t i = 1; i < arguments.size(); ++i) args.emplace_back(arguments[i]);
  if (args.empty()) {
    std::fputs(kUsage, stderr);
    return xsetool::kExitUsage;
  }
  const std::string_view command = args.front();
  const std::span<const std::string_view> rest(args.data() + 1, args.size() - 1);
  if (command == "--help" || command == "-h" || command == "help") {
    std::fputs(kUsage, stdout);
    return xsetool::kExitOk;
  }
  if (command == "--version" || command == "version") {
    std::fputs("xse " XSE_VERSION "\n", stdout);
    return xsetool::kExitOk;
  }
  if (command == "dump") return xsetool::RunDumpCommand(rest);
  if (command == "gen") return xsetool::RunGenCommand(rest);
  if (command == "info") return xsetool::RunInfoCommand(rest);
  if (command == "run") return xsetool::RunRunCommand(rest);
  if (command == "check") return xsetool::RunCheckCommand(rest);
  if (command == "record") return xsetool::RunRecordCommand(rest);
  if (command == "serve") return xsetool::RunServeCommand(rest);
  if (command == "settings") return xsetool::RunSettingsCommand(rest);
  if (command == "plot") return xsetool::RunPlotCommand(rest);
  if (command == "soundings") return xsetool::RunSoundingsCommand(rest);
  if (command == "grid") return xsetool::RunGridCommand(rest);
  std::fprintf(stderr, "xse: unknown command '%.*s'\n%s", static_cast<int>(command.size()),
               command.data(), kUsage);
  return xsetool::kExitUsage;
}
