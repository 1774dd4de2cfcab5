#include "tools/common/StateFile.h"

#include "tools/common/NewFile.h"

#include <cerrno>

namespace statefile {

void write(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    tools::NewFile file(path);
    std::ofstream stream(file.path(), std::ios::binary);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream)
        file.refuse(errno);
    file.keep();
}

} // namespace statefile
