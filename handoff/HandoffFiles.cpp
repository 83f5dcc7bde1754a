#include "handoff/HandoffFiles.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool isAbsolute(const char* value) {
    return value && value[0] == '/';
}

std::string homeDirectory() {
    const char* home = std::getenv("HOME");
    if (home && *home)
        return home;
    const passwd* entry = ::getpwuid(::getuid());
    return entry && entry->pw_dir ? entry->pw_dir : "/";
}

std::string dataHome() {
    const char* value = std::getenv("XDG_DATA_HOME");
    // The XDG rules ignore relative values.
    return isAbsolute(value) ? std::string(value) : homeDirectory() + "/.local/share";
}

std::string stateHome() {
    const char* value = std::getenv("XDG_STATE_HOME");
    return isAbsolute(value) ? std::string(value) : homeDirectory() + "/.local/state";
}

// The log at path, open for appending, when it is a plain file of ours with no second name; else -1. No
// links followed, never waiting on a pipe put in the log's place, private.
int openOwnLog(const std::string& path) {
    const int file =
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0)
        return -1;
    struct stat status {};
    if (::fstat(file, &status) == 0 && status.st_uid == ::getuid() && S_ISREG(status.st_mode) &&
        status.st_nlink == 1)
        return file;
    ::close(file);
    return -1;
}

std::string temporaryRoot() {
    const char* value = std::getenv("KESTRO_TMPDIR");
    return value && *value ? std::string(value) : std::string("/tmp");
}

std::string runtimeDirectory() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const char* kestroTmp = std::getenv("KESTRO_TMPDIR");
    if (isAbsolute(runtime) && !(kestroTmp && *kestroTmp))
        return std::string(runtime) + "/kestro";
    return temporaryRoot() + "/kestro-" + std::to_string(::getuid());
}

std::string systemMessage(int error) {
    return std::strerror(error);
}

// Ours alone: owned by this user and writable by nobody else.
bool isPrivate(const struct stat& status, std::string& error) {
    if (status.st_uid != ::geteuid()) {
        error = "owned by user " + std::to_string(status.st_uid);
        return false;
    }
    if (status.st_mode & (S_IWGRP | S_IWOTH)) {
        error = "writable by group or others";
        return false;
    }
    return true;
}

// Creates the folder user-only when missing (its parents as well), then opens it without following a link.
int openPrivateFolder(const std::string& path, std::string& error) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        ::mkdir(path.substr(0, slash).c_str(), 0700);
    ::mkdir(path.c_str(), 0700);
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) {
        error = path + ": " + systemMessage(errno);
        return -1;
    }
    struct stat status {};
    if (::fstat(folder, &status) != 0 || !isPrivate(status, error)) {
        error = path + ": " + (error.empty() ? systemMessage(errno) : error);
        ::close(folder);
        return -1;
    }
    return folder;
}

bool writeAll(int descriptor, const std::string& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += size_t(count);
    }
    return true;
}

void appendUtf16BigEndian(std::string& out, const std::string& ascii) {
    for (char c : ascii) {
        out.push_back('\0');
        out.push_back(c);
    }
}

void appendBigEndian(std::string& out, unsigned long value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
        out.push_back(char((value >> shift) & 0xff));
}

// The host's single-instance frame for ["drain"]: a size, then protocol version 1 and a string list, as
// Qt's data stream writes them (big-endian, strings as UTF-16).
std::string drainFrame() {
    const std::string word = "drain";
    std::string payload;
    appendBigEndian(payload, 1, 2);
    appendBigEndian(payload, 1, 4);
    appendBigEndian(payload, word.size() * 2, 4);
    appendUtf16BigEndian(payload, word);
    std::string frame;
    appendBigEndian(frame, payload.size(), 4);
    return frame + payload;
}

} // namespace

namespace HandoffFiles {

std::string extensionDirectory() {
    return dataHome() + "/kestro/extension";
}

std::string menuDescriptionPath() {
    return extensionDirectory() + "/FileManagerMenu.json";
}

std::string queueDirectory() {
    return extensionDirectory() + "/ActionQueue";
}

std::string socketPath() {
    return runtimeDirectory() + "/kestro.socket";
}

std::string diagnosticLogPath() {
    return temporaryRoot() + "/kestro-app-action.log";
}

bool isValidUtf8(const std::string& text) {
    size_t index = 0;
    while (index < text.size()) {
        const unsigned char lead = static_cast<unsigned char>(text[index]);
        int length = 0;
        unsigned int codePoint = 0;
        if (lead < 0x80) {
            ++index;
            continue;
        } else if ((lead & 0xe0) == 0xc0) {
            length = 2;
            codePoint = lead & 0x1f;
        } else if ((lead & 0xf0) == 0xe0) {
            length = 3;
            codePoint = lead & 0x0f;
        } else if ((lead & 0xf8) == 0xf0) {
            length = 4;
            codePoint = lead & 0x07;
        } else {
            return false;
        }
        if (index + size_t(length) > text.size())
            return false;
        for (int offset = 1; offset < length; ++offset) {
            const unsigned char next = static_cast<unsigned char>(text[index + size_t(offset)]);
            if ((next & 0xc0) != 0x80)
                return false;
            codePoint = (codePoint << 6) | (next & 0x3f);
        }
        // Overlong forms, surrogates and values past Unicode are no UTF-8.
        const unsigned int minimum[] = {0, 0, 0x80, 0x800, 0x10000};
        if (codePoint < minimum[length] || codePoint > 0x10ffff ||
            (codePoint >= 0xd800 && codePoint <= 0xdfff))
            return false;
        index += size_t(length);
    }
    return true;
}

std::string absolute(const std::string& path) {
    if (path.starts_with('/'))
        return path;
    char buffer[PATH_MAX];
    if (!::getcwd(buffer, sizeof buffer))
        return path;
    return std::string(buffer) + "/" + path;
}

std::optional<std::string> readPrivateFile(const std::string& path, long limit, std::string& error) {
    const std::string folderPath = path.substr(0, path.rfind('/'));
    struct stat folderStatus {};
    if (::lstat(folderPath.c_str(), &folderStatus) != 0) {
        error = folderPath + ": " + systemMessage(errno);
        return std::nullopt;
    }
    if (!S_ISDIR(folderStatus.st_mode) || !isPrivate(folderStatus, error)) {
        error = folderPath + ": " + (error.empty() ? "not a folder" : error);
        return std::nullopt;
    }
    const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (file < 0) {
        error = path + ": " + systemMessage(errno);
        return std::nullopt;
    }
    struct stat status {};
    std::string bytes;
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > limit ||
        !isPrivate(status, error)) {
        error = path + ": " + (error.empty() ? "not a regular file of a sensible size" : error);
        ::close(file);
        return std::nullopt;
    }
    bytes.resize(size_t(status.st_size));
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::read(file, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += size_t(count);
    }
    ::close(file);
    bytes.resize(done);
    return bytes;
}

bool enqueue(const std::string& request, std::string& error) {
    const int folder = openPrivateFolder(queueDirectory(), error);
    if (folder < 0)
        return false;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    // A name that sorts by time gives first in, first out; the pid keeps two clicks in one instant apart.
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%020lld-%d",
                  static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec, int(::getpid()));
    const std::string temporary = std::string(".") + stamp + ".tmp";
    const std::string final = std::string(stamp) + ".json";
    const int file =
        ::openat(folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    bool written = file >= 0 && writeAll(file, request);
    if (!written)
        error = systemMessage(errno);
    if (file >= 0 && ::close(file) != 0 && written) {
        written = false;
        error = systemMessage(errno);
    }
    // The host only takes ".json" files, so it never sees a half-written request.
    if (written && ::renameat(folder, temporary.c_str(), folder, final.c_str()) != 0) {
        written = false;
        error = systemMessage(errno);
    }
    if (!written && file >= 0)
        ::unlinkat(folder, temporary.c_str(), 0);
    ::close(folder);
    return written;
}

bool announceToHost() {
    // Only a listener in a private folder of ours is the host; one in a folder someone else planted is not.
    struct stat folder {};
    if (::lstat(runtimeDirectory().c_str(), &folder) != 0 || !S_ISDIR(folder.st_mode) ||
        folder.st_uid != ::getuid() || (folder.st_mode & 07777) != 0700)
        return false;
    const std::string path = socketPath();
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path)
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int connection = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0)
        return false;
    if (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(connection);
        return false;
    }
    const std::string frame = drainFrame();
    if (::send(connection, frame.data(), frame.size(), MSG_NOSIGNAL) != ssize_t(frame.size())) {
        ::close(connection);
        return false;
    }
    // The host answers one byte once it has the message. A host that is busy still polls its queue every
    // second, so a late answer loses nothing.
    pollfd waiting{connection, POLLIN, 0};
    ::poll(&waiting, 1, 2000);
    ::close(connection);
    return true;
}

bool startHost(std::string& error) {
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) {
        error = systemMessage(errno);
        return false;
    }
    self[length] = '\0';
    std::string host(self);
    host = host.substr(0, host.rfind('/')) + "/kestro";
    if (::access(host.c_str(), X_OK) != 0) {
        error = host + ": " + systemMessage(errno);
        return false;
    }
    // Twice forked and in a session of its own, so the host outlives the file manager's helper process and
    // leaves no zombie behind.
    const pid_t child = ::fork();
    if (child < 0) {
        error = systemMessage(errno);
        return false;
    }
    if (child == 0) {
        ::setsid();
        if (::fork() != 0)
            ::_exit(0);
        const int nothing = ::open("/dev/null", O_RDWR);
        if (nothing >= 0) {
            ::dup2(nothing, 0);
            ::dup2(nothing, 1);
            ::dup2(nothing, 2);
        }
        char* const arguments[] = {const_cast<char*>(host.c_str()), const_cast<char*>("--login-item"),
                                   nullptr};
        ::execv(host.c_str(), arguments);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return true;
}

void log(const std::string& message) {
    std::string line;
    for (char c : message) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            line += escaped;
        } else {
            line.push_back(c);
        }
    }
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    char stamp[64];
    std::strftime(stamp, sizeof stamp, "[%Y-%m-%d %H:%M:%S +0000] ", &utc);
    line = stamp + line + "\n";
    // The temporary root is shared with other accounts: when another has taken the log's name, the line
    // goes to the user's own log in the state folder, as the host's do.
    int file = openOwnLog(diagnosticLogPath());
    if (file < 0) {
        const std::string folder = stateHome() + "/kestro";
        for (size_t slash = folder.find('/', 1); slash != std::string::npos;
             slash = folder.find('/', slash + 1))
            ::mkdir(folder.substr(0, slash).c_str(), 0700);
        ::mkdir(folder.c_str(), 0700);
        file = openOwnLog(folder + "/kestro-app-action.log");
    }
    if (file < 0)
        return;
    writeAll(file, line);
    ::close(file);
}

} // namespace HandoffFiles
