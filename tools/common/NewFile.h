/// A result that appears under its name only when it is whole.
#pragma once

#include <filesystem>

namespace tools {

/// A file beside its target, which keep() puts in the target's place. Without keep() it is removed,
/// and what stood there before stays as it was. A target that is no plain file (a device, a pipe)
/// is written directly; of a symbolic link the file that it leads to is replaced. Throws Failure.
class NewFile {
public:
    explicit NewFile(const std::filesystem::path& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Where to write: an empty file, open for writing as descriptor(), too.
    [[nodiscard]] const std::filesystem::path& path() const { return written; }
    [[nodiscard]] int descriptor() const { return fd; }
    /// All is written: brings it to disk and gives it its name.
    void keep();
    /// Gives up with what the system says of this error number.
    [[noreturn]] void refuse(int error) const;

private:
    std::filesystem::path asked;   ///< as the user named it
    std::filesystem::path target;  ///< the same without symbolic links
    std::filesystem::path written; ///< the target itself where it is no plain file
    int fd = -1;
    bool pending = false; ///< there is something to remove
};

} // namespace tools
