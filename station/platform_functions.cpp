#include "platform_functions.h"

#include <algorithm>
#include <cstdint>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <regex>

namespace station {
namespace {

struct tables {
  const ElfW(Sym) *symbols = nullptr;
  const char *names = nullptr;
  const uint32_t *gnu_hash = nullptr;
  const uint32_t *hash = nullptr;

  /** A GNU hash table begins behind the undefined ones, which is all that is looked for here. */
  size_t count() const { return gnu_hash ? gnu_hash[1] : hash ? hash[1] : 0; }
};

/** Some loaders turn the addresses in the dynamic section into absolute ones, some leave them. */
template <class T> const T *at(ElfW(Addr) base, ElfW(Addr) address) {
  return reinterpret_cast<const T *>(address < base ? base + address : address);
}

tables read_tables(ElfW(Addr) base, const ElfW(Dyn) * entry) {
  tables t;
  for (; entry->d_tag != DT_NULL; ++entry) {
    auto address = entry->d_un.d_ptr;
    if (entry->d_tag == DT_SYMTAB) t.symbols = at<ElfW(Sym)>(base, address);
    if (entry->d_tag == DT_STRTAB) t.names = at<char>(base, address);
    if (entry->d_tag == DT_GNU_HASH) t.gnu_hash = at<uint32_t>(base, address);
    if (entry->d_tag == DT_HASH) t.hash = at<uint32_t>(base, address);
  }
  return t;
}

struct search {
  const void *base;
  tables found;
};

int take_tables(dl_phdr_info *info, size_t, void *wanted) {
  auto *s = static_cast<search *>(wanted);
  if (reinterpret_cast<const void *>(info->dlpi_addr) != s->base) return 0;
  auto *end = info->dlpi_phdr + info->dlpi_phnum;
  auto *dynamic =
      std::find_if(info->dlpi_phdr, end, [](auto &header) { return header.p_type == PT_DYNAMIC; });
  if (dynamic != end)
    s->found =
        read_tables(info->dlpi_addr, reinterpret_cast<const ElfW(Dyn) *>(info->dlpi_addr + dynamic->p_vaddr));
  return 1;
}

bool is_wanted(const ElfW(Sym) & symbol) {
  return symbol.st_shndx == SHN_UNDEF && symbol.st_name != 0 && (symbol.st_info >> 4) == STB_GLOBAL;
}

}  // namespace

std::vector<std::string> undefined_functions(const void *inside) {
  Dl_info where{};
  if (!inside || !dladdr(inside, &where)) return {};
  search s{where.dli_fbase, {}};
  dl_iterate_phdr(take_tables, &s);
  std::vector<std::string> all;
  auto *library = dlopen(where.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  for (size_t i = 0; s.found.symbols && s.found.names && i < s.found.count(); ++i) {
    auto *name = s.found.names + s.found.symbols[i].st_name;
    if (is_wanted(s.found.symbols[i]) && !dlsym(RTLD_DEFAULT, name) && !(library && dlsym(library, name)))
      all.emplace_back(name);
  }
  if (library) dlclose(library);
  return all;
}

std::string undefined_in_message(const std::string &message) {
  std::smatch found;
  static const std::regex named("(?:undefined symbol: |cannot locate symbol \")(\\w+)");
  return std::regex_search(message, found, named) ? found[1].str() : "";
}

}  // namespace station
