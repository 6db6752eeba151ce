#include "host/toolchain/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include "core/format.h"

namespace zarn {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "zarn-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(tessel::format("{}: {}", name, std::strerror(errno)));
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void TemporaryFolder::write(std::string_view name, std::string_view text) const {
    std::ofstream file(path_ / name, std::ios::binary);
    file << text;
    if (!file.flush()) throw std::runtime_error(tessel::format("{}: cannot be written", (path_ / name).string()));
}

}  // namespace zarn
