// kalvora-info: which library this is, and which displays it finds and can open.
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "kalvora/kalvora.h"

#include "examples/common/Command.h"

namespace {

struct Found {
  const char* kind;
  std::string path;
  unsigned index;
  KDisplayFacts facts;
  KError error;
  bool opens;
};

struct Kind {
  KDisplay kind;
  const char* name;
  const char* path;  ///< its number follows
  unsigned count;
};
constexpr Kind kKinds[] = {{KDisplayFramebuffer, "framebuffer", "/dev/fb", 32},
                           {KDisplayKms, "kms", "/dev/dri/card", 64},
                           {KDisplayShared, "shared memory", "shm", 1}};

std::vector<Found> FindDisplays() {
  std::vector<Found> all;
  for (const Kind& k : kKinds) {
    for (unsigned i = 0; i < k.count; ++i) {
      Found f{k.name, k.path, i, {}, {}, false};
      if (k.kind != KDisplayShared) f.path += std::to_string(i);
      f.opens = KLinuxFb::Look(k.kind, i, f.facts, f.error);
      // A number without a device is nothing to tell; nor is a kind that this library lacks, twice.
      const bool isThere =
          f.error.code != KErrorNoDevice || f.error.systemError != ENOENT || f.facts.width != 0;
      if (isThere && (f.error.code != KErrorNotSupported || i == 0)) all.push_back(f);
    }
  }
  return all;
}

const char* YesNo(bool yes) { return yes ? "yes" : "no"; }

void PrintText(const std::vector<Found>& displays) {
  std::printf("Kalvora %s\n", KLibrary::Version());
  std::printf("  instruction set        %s\n", KLibrary::InstructionSet());
  std::printf("  mode-setting displays  %s\n", YesNo(KLibrary::HasKms()));
  std::printf("  data mover required    %s\n", YesNo(KLibrary::WantsDataMover()));
  for (const Found& f : displays) {
    std::printf("%s\n", f.path.c_str());
    if (f.facts.driver[0] != 0) std::printf("  driver   %s\n", f.facts.driver);
    if (f.facts.width != 0) {
      std::printf("  screen   %u x %u, %u bits a pixel\n", f.facts.width, f.facts.height,
                  f.facts.bpp);
      std::printf("  buffers  %u, shown by %s%s\n", f.facts.buffers,
                  f.facts.flips ? "flips" : "copies", f.facts.hasShadow ? ", with a shadow" : "");
    }
    std::printf("  opens    %s\n", f.opens ? "yes" : f.error.text);
  }
}

/// A string as JSON has it.
std::string Quoted(const char* text) {
  std::string quoted = "\"";
  for (const char* p = text; *p != 0; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", c);
    if (c == '"' || c == '\\') quoted += '\\';
    if (c < ' ' || c > '~') {
      quoted += code;
    } else {
      quoted += *p;
    }
  }
  return quoted + "\"";
}

const char* Bool(bool value) { return value ? "true" : "false"; }

void PrintJson(const std::vector<Found>& displays) {
  std::printf(
      "{\"version\": \"%s\", \"instruction_set\": \"%s\", \"kms\": %s, \"data_mover\": %s,\n",
      KLibrary::Version(), KLibrary::InstructionSet(), Bool(KLibrary::HasKms()),
      Bool(KLibrary::WantsDataMover()));
  std::printf(" \"displays\": [");
  const char* separator = "\n";
  for (const Found& f : displays) {
    std::printf("%s  {\"kind\": \"%s\", \"path\": %s, \"index\": %u, \"driver\": %s,\n", separator,
                f.kind, Quoted(f.path.c_str()).c_str(), f.index, Quoted(f.facts.driver).c_str());
    std::printf("   \"width\": %u, \"height\": %u, \"bits\": %u, \"buffers\": %u,", f.facts.width,
                f.facts.height, f.facts.bpp, f.facts.buffers);
    std::printf(" \"flips\": %s, \"shadow\": %s,\n", Bool(f.facts.flips), Bool(f.facts.hasShadow));
    std::printf("   \"opens\": %s, \"reason\": %d, \"errno\": %d, \"error\": %s}", Bool(f.opens),
                f.error.code, f.error.systemError, Quoted(f.error.text).c_str());
    separator = ",\n";
  }
  std::printf("]}\n");
}

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  const examples::Command command{
      "kalvora-info",
      "",
      "Tells the library's version, how it was built and which instructions it uses, and lists "
      "the\n"
      "framebuffer devices, the mode-setting cards and the shared-memory surface: their sizes, "
      "and\n"
      "whether Kalvora can open them or why not. It shows nothing on them and changes nothing.",
      {{"--json", "", "prints the same for programs", [&](const std::string&) { json = true; }}}};
  return examples::Run(command, argc, argv, [&](const std::vector<std::string>&) {
    (json ? PrintJson : PrintText)(FindDisplays());
  });
}
