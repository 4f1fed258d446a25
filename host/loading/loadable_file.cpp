// Compares what a file is built for with this program.
#include "host/loading/loadable_file.h"

#include <climits>
#include <unistd.h>

#include "host/loading/elf_file.h"
#include "host/output/files.h"
#include "host/refusal.h"
#include "json/input.h"

namespace host {

static std::string classText(int bits, const std::string& machine) {
  return std::to_string(bits) + "-bit " + machine;
}

static std::string ownClass() {
#ifdef __i386__
  return classText(32, "x86");
#else
  return classText(64, "x86-64");
#endif
}

static std::string classOf(const ElfIdentity& identity) {
  return classText(identity.bits, identity.machine);
}

std::string readLoadable(const std::string& kind, const std::string& path) {
  const std::string name = kind + " " + path + ": ";
  const auto status = statusOf(path);
  if (status && !S_ISREG(status->st_mode)) throw Refusal(name + "it is no regular file");
  std::string error;
  auto content = input::readFile(path, error);
  if (!content) throw Refusal(name + error);
  const auto identity = identifyElf(*content);
  if (!identity) throw Refusal(name + "it is no ELF file");
  if (const std::string built = classOf(*identity); built != ownClass()) {
    throw Refusal(name + "it is built for " + built + ", this host is a " + ownClass() + " program");
  }
  if (isCut(*content)) throw Refusal(name + "the file is cut");
  return *std::move(content);
}

bool isOfOtherClass(const std::string& path) {
  std::string error;
  const auto content = input::readFile(path, error);
  const auto identity = content ? identifyElf(*content) : std::nullopt;
  return identity && classOf(*identity) != ownClass();
}

std::string loadablePath(const std::string& file) {
  return file.find('/') == std::string::npos ? "./" + file : file;
}

std::string programFolder() {
  char program[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
  const std::string path(program, length > 0 ? static_cast<size_t>(length) : 0);
  return path.substr(0, path.rfind('/') + 1);
}

}  // namespace host
