/// A saved plug-in state as a file: its bytes and nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <ios>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace statefile {

/// States are a few hundred bytes; the plug-in reads no more than this either.
inline constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

/// All bytes of a stream; `name` is for the messages. Throws std::runtime_error with one line.
inline std::vector<std::uint8_t> read(std::istream& stream, const std::string& name) {
    std::vector<std::uint8_t> bytes(kMaxBytes + 1);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (stream.bad())
        throw std::runtime_error(name + ": cannot read");
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    if (bytes.size() > kMaxBytes)
        throw std::runtime_error(name + ": too large to be a saved state (more than 1 MiB)");
    return bytes;
}

/// All bytes of the file. Throws std::runtime_error with one line.
inline std::vector<std::uint8_t> read(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw std::runtime_error(path.string() + ": no such file");
    if (std::filesystem::is_directory(status))
        throw std::runtime_error(path.string() + ": a folder, not a file");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(path.string() + ": cannot open");
    return read(file, path.string());
}

/// Writes the file anew: it is there once it is whole. Throws Failure.
void write(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);

} // namespace statefile
