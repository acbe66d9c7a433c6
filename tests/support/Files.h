#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// What a file holds, byte for byte.
inline std::string content(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A new folder, which goes with this object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zeibreku-XXXXXX").string();
        path = ::mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path); }
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;

    /// The path of a file in it.
    std::string operator/(std::string const& name) const { return (path / name).string(); }
    long fileCount() const {
        return std::distance(std::filesystem::directory_iterator(path),
                             std::filesystem::directory_iterator());
    }

    std::filesystem::path path;
};
