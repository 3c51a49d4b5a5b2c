#include "platform/privateprofile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view TrimLeft(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimRight(std::string_view text) {
  const size_t last = text.find_last_not_of(kBlanks);
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::string_view Trim(std::string_view text) { return TrimRight(TrimLeft(text)); }

char LowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return LowerAscii(x) == LowerAscii(y);
         });
}

struct ProfileLine {
  enum class Kind { kBlank, kComment, kSection, kKey, kOther };
  Kind kind = Kind::kBlank;
  std::string_view name;   // section or key name, trimmed
  std::string_view value;  // key value, trimmed and unquoted
  size_t valueStart = 0;   // offset of the value text in the line (after '=' and blanks)
};

// `line` is one line without its line break.
ProfileLine ClassifyLine(std::string_view line) {
  ProfileLine result;
  const std::string_view text = TrimLeft(line);
  if (text.empty()) return result;
  if (text.front() == ';') {
    result.kind = ProfileLine::Kind::kComment;
    return result;
  }
  if (text.front() == '[') {
    const size_t close = text.find(']');
    // A '[' without ']' is neither a header nor a key: it ends no section.
    if (close == std::string_view::npos) {
      result.kind = ProfileLine::Kind::kOther;
      return result;
    }
    result.kind = ProfileLine::Kind::kSection;
    result.name = Trim(text.substr(1, close - 1));
    return result;
  }
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    result.kind = ProfileLine::Kind::kOther;
    return result;
  }
  result.kind = ProfileLine::Kind::kKey;
  result.name = Trim(line.substr(0, equals));
  const std::string_view rest = line.substr(equals + 1);
  const std::string_view value = TrimLeft(rest);
  result.valueStart = equals + 1 + (rest.size() - value.size());
  result.value = TrimRight(value);
  if (result.value.size() >= 2 && (result.value.front() == '"' || result.value.front() == '\'') &&
      result.value.back() == result.value.front()) {
    result.value = result.value.substr(1, result.value.size() - 2);
  }
  return result;
}

std::string_view WithoutCarriageReturn(std::string_view line) {
  return (!line.empty() && line.back() == '\r') ? line.substr(0, line.size() - 1) : line;
}

class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

// Opens a regular file only: a FIFO or device name must not make a read
// block or a write land somewhere odd. Takes an advisory lock, so a reader
// never sees a file half rewritten by another process's write.
int OpenRegularFile(const std::string& path, int flags, int lockMode) {
  int descriptor;
  do {
    descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) return -1;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(descriptor);
    return -1;
  }
  // A file system without locks still gets its read or write.
  while (::flock(descriptor, lockMode) != 0 && errno == EINTR) {
  }
  return descriptor;
}

// Hands out the lines of a file one by one, keeping at most
// kMaxProfileLineLength characters of each.
class LineReader {
 public:
  explicit LineReader(int descriptor) : descriptor_(descriptor) {}

  bool Next(std::string& line) {
    line.clear();
    bool any = false;
    while (true) {
      if (position_ == length_ && !Fill()) return any;
      any = true;
      const char* begin = buffer_ + position_;
      const char* end = buffer_ + length_;
      const char* lineBreak = std::find(begin, end, '\n');
      const size_t room = kMaxProfileLineLength - std::min(line.size(), kMaxProfileLineLength);
      line.append(begin, std::min(static_cast<size_t>(lineBreak - begin), room));
      position_ = static_cast<size_t>(lineBreak - buffer_);
      if (lineBreak != end) {
        ++position_;
        return true;
      }
    }
  }

 private:
  bool Fill() {
    ssize_t count;
    do {
      count = ::read(descriptor_, buffer_, sizeof buffer_);
    } while (count < 0 && errno == EINTR);
    position_ = 0;
    length_ = count > 0 ? static_cast<size_t>(count) : 0;
    return length_ > 0;
  }

  int descriptor_;
  char buffer_[4096];
  size_t position_ = 0;
  size_t length_ = 0;
};

std::string CutToBuffer(std::string_view text, size_t bufferSize) {
  if (bufferSize == 0) return std::string();
  return std::string(text.substr(0, bufferSize - 1));
}

bool ReadWholeFile(int descriptor, std::string& content) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || status.st_size < 0 ||
      static_cast<uint64_t>(status.st_size) > kMaxProfileFileSize) {
    return false;
  }
  content.resize(static_cast<size_t>(status.st_size));
  size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = ::read(descriptor, content.data() + done, content.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  content.resize(done);
  return true;
}

bool WriteAt(int descriptor, std::string_view data, size_t offset) {
  size_t done = 0;
  while (done < data.size()) {
    const ssize_t count = ::pwrite(descriptor, data.data() + done, data.size() - done,
                                   static_cast<off_t>(offset + done));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<size_t>(count);
  }
  return true;
}

// New lines follow the file's own convention, judged by its first line.
std::string_view LineBreakOf(std::string_view content) {
  const size_t first = content.find('\n');
  return (first != std::string_view::npos && first > 0 && content[first - 1] == '\r') ? "\r\n"
                                                                                      : "\n";
}

// The file's content with `key` set; `section` and `key` are trimmed.
std::string WithValue(std::string_view content, std::string_view section, std::string_view key,
                      std::string_view value) {
  const std::string_view lineBreak = LineBreakOf(content);
  bool inSection = false;
  size_t insertAt = std::string_view::npos;  // just after the section's last content line
  bool insertNeedsBreak = false;
  size_t position = 0;
  while (position < content.size()) {
    const size_t newline = content.find('\n', position);
    const size_t end = newline == std::string_view::npos ? content.size() : newline;
    const size_t next = newline == std::string_view::npos ? content.size() : newline + 1;
    std::string_view body = WithoutCarriageReturn(content.substr(position, end - position));
    size_t bodyStart = position;
    if (position == 0 && body.starts_with(kByteOrderMark)) {
      body.remove_prefix(kByteOrderMark.size());
      bodyStart += kByteOrderMark.size();
    }
    const ProfileLine line = ClassifyLine(body.substr(0, kMaxProfileLineLength));
    if (line.kind == ProfileLine::Kind::kSection) {
      if (inSection) break;
      if (EqualsNoCase(line.name, section)) {
        inSection = true;
        insertAt = next;
        insertNeedsBreak = newline == std::string_view::npos;
      }
    } else if (inSection) {
      if (line.kind == ProfileLine::Kind::kKey && EqualsNoCase(line.name, key)) {
        // Replace the old value from its first character to the end of the
        // line; the key's spelling and the blanks around '=' stay.
        const size_t valueFrom = bodyStart + line.valueStart;
        std::string result(content.substr(0, valueFrom));
        result.append(value);
        result.append(content.substr(bodyStart + body.size()));
        return result;
      }
      // Blank lines and comments at the end of a section usually introduce
      // the next one, so a new key goes above them.
      if (line.kind == ProfileLine::Kind::kKey || line.kind == ProfileLine::Kind::kOther) {
        insertAt = next;
        insertNeedsBreak = newline == std::string_view::npos;
      }
    }
    position = next;
  }

  std::string newLines;
  if (insertAt == std::string_view::npos) {
    insertAt = content.size();
    insertNeedsBreak = !content.empty() && content.back() != '\n';
    newLines.append("[").append(section).append("]").append(lineBreak);
  }
  newLines.append(key).append("=").append(value).append(lineBreak);
  std::string result(content.substr(0, insertAt));
  if (insertNeedsBreak) result.append(lineBreak);
  result.append(newLines);
  result.append(content.substr(insertAt));
  return result;
}

bool HasLineBreak(std::string_view text) {
  return text.find_first_of("\r\n") != std::string_view::npos;
}

}  // namespace

std::string ReadProfileString(const std::string& path, const std::string& section,
                              const std::string& key, const std::string& defaultValue,
                              std::size_t bufferSize) {
  std::string fallback = CutToBuffer(TrimRight(defaultValue), bufferSize);
  const std::string_view sectionName = Trim(section);
  const std::string_view keyName = Trim(key);
  if (sectionName.empty() || keyName.empty()) return fallback;

  const Descriptor file(OpenRegularFile(path, O_RDONLY, LOCK_SH));
  if (file.get() < 0) return fallback;
  LineReader reader(file.get());
  std::string text;
  bool firstLine = true;
  bool inSection = false;
  while (reader.Next(text)) {
    std::string_view body = WithoutCarriageReturn(text);
    if (firstLine && body.starts_with(kByteOrderMark)) body.remove_prefix(kByteOrderMark.size());
    firstLine = false;
    const ProfileLine line = ClassifyLine(body);
    if (line.kind == ProfileLine::Kind::kSection) {
      if (inSection) break;
      inSection = EqualsNoCase(line.name, sectionName);
    } else if (inSection && line.kind == ProfileLine::Kind::kKey &&
               EqualsNoCase(line.name, keyName)) {
      return CutToBuffer(line.value, bufferSize);
    }
  }
  return fallback;
}

bool WriteProfileString(const std::string& path, const std::string& section, const std::string& key,
                        const std::string& value) {
  const std::string_view sectionName = Trim(section);
  const std::string_view keyName = Trim(key);
  if (sectionName.empty() || keyName.empty() || HasLineBreak(section) || HasLineBreak(key) ||
      HasLineBreak(value) || sectionName.find(']') != std::string_view::npos ||
      keyName.find('=') != std::string_view::npos || keyName.front() == ';' ||
      keyName.front() == '[') {
    return false;
  }

  const Descriptor file(OpenRegularFile(path, O_RDWR | O_CREAT, LOCK_EX));
  if (file.get() < 0) return false;
  std::string content;
  if (!ReadWholeFile(file.get(), content)) return false;
  const std::string updated = WithValue(content, sectionName, keyName, value);

  // Rewrite only from the first changed byte on, so a failing write cannot
  // damage what comes before the change.
  const auto changed =
      std::mismatch(updated.begin(), updated.end(), content.begin(), content.end()).first;
  const size_t offset = static_cast<size_t>(changed - updated.begin());
  if (!WriteAt(file.get(), std::string_view(updated).substr(offset), offset)) return false;
  int result;
  do {
    result = ::ftruncate(file.get(), static_cast<off_t>(updated.size()));
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace platform
