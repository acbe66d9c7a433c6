#include "foundation/core/internal/KrReplaceFile.h"

#include "foundation/core/internal/KrFileSizeSignal.h"

#include "foundation/core/KrPrint.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <ostream>
#include <streambuf>
#include <system_error>
#include <utility>

KR_SOURCE_VERSION;

namespace {

namespace fs = std::filesystem;

bool refuse(std::string const& path, std::string const& reason) {
    Kr::Print::instance().write(Kr::PrintType::Error, "%s: %s\n", path, reason);
    return false;
}

// Gives the reason in errno.
bool refuse(std::string const& path) {
    return refuse(path, "cannot be written: " + std::generic_category().message(errno));
}

// An open file with a stream buffer that does not buffer: the writer of documents has a
// buffer of its own.
class File : public std::streambuf {
public:
    explicit File(int descriptor) : descriptor_(descriptor) {}
    File(File const&) = delete;
    File& operator=(File const&) = delete;
    ~File() override { close(); }

    int descriptor() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }

    // False, with errno set, if the system reports a lost write only now.
    bool close() {
        int const descriptor = std::exchange(descriptor_, -1);
        return descriptor < 0 || ::close(descriptor) == 0;
    }

    // The errno of the write that failed.
    int error() const { return error_; }

protected:
    int_type overflow(int_type character) override {
        char const c = traits_type::to_char_type(character);
        bool const isNothing = traits_type::eq_int_type(character, traits_type::eof());
        return isNothing || xsputn(&c, 1) == 1 ? traits_type::not_eof(character)
                                               : traits_type::eof();
    }
    std::streamsize xsputn(char const* text, std::streamsize count) override {
        for (std::streamsize done = 0; done < count;) {
            ssize_t const written =
                ::write(descriptor_, text + done, static_cast<std::size_t>(count - done));
            if (written < 0 && errno != EINTR) {
                error_ = errno;
                return done;
            }
            done += written > 0 ? written : 0;
        }
        return count;
    }

private:
    int descriptor_;
    int error_ = 0;
};

// Calls `write` with a stream to the file, which messages call `path`.
bool fill(File& file, std::string const& path, std::function<bool(std::ostream&)> const& write) {
    std::ostream stream(&file);
    bool const written = write(stream);
    if (!stream.good()) {
        errno = file.error();
        return refuse(path);
    }
    return written || refuse(path, "not written");  // `write` has printed the reason
}

// A new file in the folder of `target`. The destructor removes it unless `moveTo` succeeded.
class FreshFile {
public:
    FreshFile(fs::path const& target, mode_t mode) : file_(create(target, mode)) {}
    FreshFile(FreshFile const&) = delete;
    FreshFile& operator=(FreshFile const&) = delete;
    ~FreshFile() {
        if (isOurs_) {
            ::unlink(path_.c_str());
        }
    }

    File& file() { return file_; }

    // Syncs before it renames: otherwise a crash could leave the name with a file whose
    // content is lost.
    bool moveTo(fs::path const& target) {
        isOurs_ = ::fsync(file_.descriptor()) != 0 || !file_.close() ||
                  std::rename(path_.c_str(), target.c_str()) != 0;
        return !isOurs_;
    }

private:
    // O_EXCL refuses a name that exists. The numbers are random, so that files which killed
    // processes have left do not collide.
    int create(fs::path const& target, mode_t mode) {
        int file = -1;
        for (int attempt = 0; attempt < 100; ++attempt) {
            std::uint64_t number = 0;
            if (::getrandom(&number, sizeof number, 0) != sizeof number) {
                break;
            }
            char name[] = ".new-0123456789abcdef";
            std::to_chars(name + 5, name + sizeof name - 1, number | std::uint64_t{1} << 63, 16);
            path_ = target.parent_path() / name;
            file = ::open(path_.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, mode);
            if (file >= 0 || errno != EEXIST) {
                break;
            }
        }
        return file;
    }

    fs::path path_;
    File file_;
    bool isOurs_ = file_.isOpen();
};

// Gives a file the owner, the group and the permissions of `old`, as far as the process
// may. If the group differs then, it does not get the permissions of the old group.
bool takeOver(int file, struct stat const& old) {
    struct stat fresh {};
    if (::fstat(file, &fresh) != 0) {
        return false;
    }
    bool const hasOwner =
        fresh.st_uid == old.st_uid || ::fchown(file, old.st_uid, static_cast<gid_t>(-1)) == 0;
    bool const hasGroup =
        fresh.st_gid == old.st_gid || ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
    mode_t mode = old.st_mode & 07777;
    if (!hasOwner) {
        mode &= ~static_cast<mode_t>(S_ISUID);
    }
    if (!hasGroup) {
        mode_t const othersMay = (mode & S_IRWXO) << 3;
        mode &= ~static_cast<mode_t>(S_ISGID | S_IRWXG) | othersMay;
    }
    return ::fchmod(file, mode) == 0;
}

// The file at the end of a chain of symbolic links, which need not exist yet.
fs::path followed(fs::path path) {
    std::error_code error;
    for (int links = 0; links < 40 && fs::is_symlink(fs::symlink_status(path, error)); ++links) {
        fs::path const target = fs::read_symlink(path, error);
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return path;
}

}  // namespace

bool krReplaceFile(std::string const& path, std::function<bool(std::ostream&)> const& write) {
    KrFileSizeSignal const blocked;
    struct stat old {};
    bool const exists = ::stat(path.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) {  // such as a cycle of links
        return refuse(path);
    }
    if (exists && !S_ISREG(old.st_mode)) {
        File file(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        return (file.isOpen() || refuse(path)) && fill(file, path, write) &&
               (file.close() || refuse(path));
    }
    fs::path const target = followed(path);
    if (exists && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
        return refuse(path);
    }
    // If there is an old file, nobody else may read the new one until it has the old
    // permissions.
    FreshFile fresh(target, exists ? 0600 : 0666);
    if (!fresh.file().isOpen() || (exists && !takeOver(fresh.file().descriptor(), old))) {
        return refuse(path);
    }
    return fill(fresh.file(), path, write) && (fresh.moveTo(target) || refuse(path));
}
