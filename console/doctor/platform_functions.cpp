// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/platform_functions.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <regex>

namespace console {
namespace {

/** An ELF file. It may be damaged, so every offset is checked. */
class library_file {
public:
  explicit library_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(in), {});
    header = at<ElfW(Ehdr)>(0);
    if (bytes.compare(0, SELFMAG, ELFMAG) != 0) header = {};
  }

  std::vector<std::string> needed_libraries() const {
    std::vector<std::string> all;
    auto table = section_of(SHT_DYNAMIC);
    for (auto &entry : entries<ElfW(Dyn)>(table))
      if (entry.d_tag == DT_NEEDED) all.push_back(name(table, entry.d_un.d_val));
    return all;
  }

  std::vector<std::string> undefined_symbols() const {
    std::vector<std::string> all;
    auto table = section_of(SHT_DYNSYM);
    for (auto &symbol : entries<ElfW(Sym)>(table))
      if (symbol.st_shndx == SHN_UNDEF && symbol.st_info >> 4 == STB_GLOBAL)
        all.push_back(name(table, symbol.st_name));
    return all;
  }

private:
  template <class T> T at(size_t offset) const {
    T value{};
    if (offset <= bytes.size() && bytes.size() - offset >= sizeof value)
      memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
  }

  ElfW(Shdr) section(size_t i) const { return at<ElfW(Shdr)>(header.e_shoff + i * sizeof(ElfW(Shdr))); }

  ElfW(Shdr) section_of(unsigned type) const {
    for (size_t i = 0; i < header.e_shnum; ++i)
      if (section(i).sh_type == type) return section(i);
    return {};
  }

  template <class T> std::vector<T> entries(const ElfW(Shdr) & table) const {
    std::vector<T> all;
    auto size = std::min<size_t>(table.sh_size, bytes.size());
    for (size_t i = 0; i + sizeof(T) <= size; i += sizeof(T)) all.push_back(at<T>(table.sh_offset + i));
    return all;
  }

  /** A name from the string table of `table`. */
  std::string name(const ElfW(Shdr) & table, size_t offset) const {
    auto from = section(table.sh_link).sh_offset + offset;
    return from < bytes.size() ? bytes.substr(from, bytes.find('\0', from) - from) : "";
  }

  std::string bytes;
  ElfW(Ehdr) header;
};

struct refusal {
  std::string path;
  std::string function;
};

/** Parses the messages of glibc's and Android's loaders. */
refusal understand(const std::string &message) {
  static const std::regex ours("(/[^ :]+): undefined symbol: (\\w+)");
  static const std::regex phones("cannot locate symbol \"(\\w+)\" referenced by \"([^\"]+)\"");
  std::smatch found;
  if (std::regex_search(message, found, ours)) return {found[1], found[2]};
  if (std::regex_search(message, found, phones)) return {found[2], found[1]};
  return {};
}

}  // namespace

std::vector<std::string> undefined_functions(const std::string &message) {
  auto refused = understand(message);
  if (refused.function.empty()) return {};
  library_file file(refused.path);
  for (auto &library : file.needed_libraries()) dlopen(library.c_str(), RTLD_NOW | RTLD_GLOBAL);
  auto all = file.undefined_symbols();
  std::erase_if(all, [](auto &name) { return dlsym(RTLD_DEFAULT, name.c_str()) != nullptr; });
  return all.empty() ? std::vector{refused.function} : all;
}

}  // namespace console
