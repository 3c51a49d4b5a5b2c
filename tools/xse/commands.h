// The subcommands of the `xse` tool. Each takes its own arguments (without
// the subcommand's name) and returns the process exit status: 0 success,
// 1 a file could not be read or written, 2 wrong usage.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace xsetool {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

int RunDumpCommand(std::span<const std::string_view> args);
int RunGenCommand(std::span<const std::string_view> args);
int RunInfoCommand(std::span<const std::string_view> args);
int RunRunCommand(std::span<const std::string_view> args);
int RunCheckCommand(std::span<const std::string_view> args);
int RunRecordCommand(std::span<const std::string_view> args);
int RunServeCommand(std::span<const std::string_view> args);
int RunSettingsCommand(std::span<const std::string_view> args);
int RunPlotCommand(std::span<const std::string_view> args);
int RunSoundingsCommand(std::span<const std::string_view> args);
int RunGridCommand(std::span<const std::string_view> args);

// The exit status of `xse run` over files: 130 only for a run stopped on
// request; a run the plug-in ended early otherwise (-1, such as out of
// memory) or a file not read is 1.
int FileRunExitStatus(int32_t result, bool stopRequested, bool allRead);

}  // namespace xsetool
