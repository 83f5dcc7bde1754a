#pragma once

#include <optional>
#include <string>

// The few places and channels kestro-handoff uses, in plain C++ and POSIX. The locations follow the same
// rules as KestroPaths (HOME, XDG_DATA_HOME, XDG_RUNTIME_DIR, KESTRO_TMPDIR); the hand-off does not link
// Qt, so they are repeated here and the hand-off tests check that both sides meet.
namespace HandoffFiles {

std::string extensionDirectory();
std::string menuDescriptionPath();
std::string queueDirectory();
std::string socketPath();
std::string diagnosticLogPath();

bool isValidUtf8(const std::string& text);
// The path made absolute against the working folder; nothing else about it changes.
std::string absolute(const std::string& path);

// The file's bytes when it is a regular file of this user in a folder of this user that nobody else may
// write; else nothing, with the reason in error.
std::optional<std::string> readPrivateFile(const std::string& path, long limit, std::string& error);

// Writes one request into the user-only queue folder (created private when missing).
bool enqueue(const std::string& request, std::string& error);

// Tells a running host to run the queue now; false when no host listens.
bool announceToHost();

// Starts "kestro --login-item" from the folder this program lives in, detached from the caller.
bool startHost(std::string& error);

// One line in the diagnostic log, control characters escaped; never fails its caller.
void log(const std::string& message);

} // namespace HandoffFiles
