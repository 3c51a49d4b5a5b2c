// Writes example XSE data: one frame of every kind in both byte orders
// (frames/, the fuzzers' seeds) and streams of them (streams/, with
// streams/mixed holding all of them back to back).
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using namespace xsewriter;

constexpr uint32_t kSeconds = 3838320000u;

std::vector<std::vector<uint8_t>> AllFrames(std::endian order) {
  std::vector<std::vector<uint8_t>> frames;
  FrameWriter writer(order);
  auto done = [&] {
    const auto frame = writer.EndFrame();
    frames.emplace_back(frame.begin(), frame.end());
  };

  writer.BeginFrame(1, kSeconds, 1000);
  PutPositionGroup(writer, "WGS84", 0.97, 0.17, 42.0);
  PutHeadingGroup(writer, 1.0);
  PutAttitudeGroup(writer, 0.25, -0.1, 0.05);
  done();

  const int beams = 16;
  std::vector<double> values(beams);
  std::vector<uint8_t> qualities(beams);
  for (int i = 0; i < beams; ++i) {
    values[static_cast<size_t>(i)] = 10.0 + i;
    qualities[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
  }
  writer.BeginFrame(6, kSeconds, 2000);
  PutPingNumberGroup(writer, 7);
  PutBeamCountGroup(writer, beams);
  for (auto type : {kTravelTimeGroup, kAcrossTrackGroup, kAlongTrackGroup, kDepthGroup,
                    kAcrossAngleGroup, kAlongAngleGroup})
    PutBeamValuesGroup(writer, type, values);
  PutQualityGroup(writer, qualities);
  const SoundVelocityEntry velocities[] = {{0, 1479.5}, {3, 1490.0}};
  PutSoundVelocityGroup(writer, velocities);
  PutPingHeadingGroup(writer, 2.0);
  done();

  const uint16_t samples[] = {10, 11, 12, 13, 14, 15, 16};
  writer.BeginFrame(5, kSeconds, 3000);
  PutSidescanPingGroup(writer, 9);
  PutSidescanSamplesGroup(writer, 100, 1000, samples);
  PutSidescanGainGroup(writer, 1, -2);
  done();

  writer.BeginFrame(4, kSeconds, 0);
  PutDraftGroup(writer, 4.2, 8);
  Installation9 installation;
  installation.headingOffset = 0.01;
  installation.positionDelay = 0.0125;
  PutInstallationGroup(writer, installation);
  Installation8 transducers;
  transducers.portMountAngle = 0.5f;
  PutTransducerInstallationGroup(writer, transducers);
  const uint32_t ids[] = {11, 12, 13, 14};
  const uint32_t types[] = {1000, 4000, 2000, 5000};
  PutDeviceListGroup(writer, ids, types);
  const MountingEntry mounts[] = {{11, 1, {0.1, 0.2, 0.3}, {1, 2, 3}},
                                  {11, 0, {0.4, 0.5, 0.6}, {4, 5, 6}},
                                  {13, 1, {0, 0, 0}, {0, 0, 0}}};
  PutMountingGroup(writer, mounts);
  const DeviceStatus status[] = {{2, 0, 2}, {2, 2, 2}};
  PutStatusGroup(writer, status);
  done();
  return frames;
}

void WriteFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: xse_make_examples DIR\n");
    return 2;
  }
  const std::filesystem::path root = argv[1];
  std::filesystem::create_directories(root / "frames");
  std::filesystem::create_directories(root / "streams");
  std::vector<uint8_t> mixed;
  for (const std::endian order : {std::endian::big, std::endian::little}) {
    const auto frames = AllFrames(order);
    for (size_t i = 0; i < frames.size(); ++i) {
      const std::string name =
          std::string(order == std::endian::big ? "be" : "le") + std::to_string(i);
      WriteFile(root / "frames" / name, frames[i]);
      WriteFile(root / "streams" / name, frames[i]);
      mixed.insert(mixed.end(), frames[i].begin(), frames[i].end());
    }
  }
  WriteFile(root / "streams" / "mixed", mixed);
  return 0;
}
