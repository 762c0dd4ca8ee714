// Symbol names of an ELF file, as the linker left them.
#pragma once

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace contract {

// The names that the table of kind `table` (SHT_DYNSYM or SHT_SYMTAB) defines.
inline std::vector<std::string> definedSymbols(const std::string& path, std::uint32_t table) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> image((std::istreambuf_iterator<char>(file)), {});
  const auto at = [&image](std::size_t offset, auto& record) {
    std::memcpy(&record, image.data() + offset, sizeof(record));
  };
  std::vector<std::string> names;
  Elf64_Ehdr header{};
  at(0, header);
  const auto section = [&](std::size_t index) {
    Elf64_Shdr record{};
    at(header.e_shoff + index * header.e_shentsize, record);
    return record;
  };
  for (std::size_t i = 0; i < header.e_shnum; ++i) {
    const Elf64_Shdr symbols = section(i);
    if (symbols.sh_type != table) {
      continue;
    }
    const Elf64_Shdr strings = section(symbols.sh_link);
    for (std::size_t offset = 0; offset < symbols.sh_size; offset += sizeof(Elf64_Sym)) {
      Elf64_Sym symbol{};
      at(symbols.sh_offset + offset, symbol);
      if (symbol.st_shndx != SHN_UNDEF) {
        names.emplace_back(image.data() + strings.sh_offset + symbol.st_name);
      }
    }
  }
  return names;
}

}  // namespace contract
