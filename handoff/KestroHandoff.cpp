// kestro-handoff: what a file manager runs when the user picks a Kestro item.
//
//     kestro-handoff [--folder] ITEM-ID -- PATH...
//
// It looks the item up in the menu description the host wrote into the user's own extension folder,
// writes one request into the user's queue folder (atomically: a hidden temporary name, then a rename to
// .json) and tells the running host over its single-instance socket; with no host running it starts one,
// which runs the queue at start. Plain C++ and POSIX on purpose: a click must not pay for loading Qt, let
// alone the libraries the actions need. Paths arrive as separate arguments and never pass through a shell.
// Without a menu description of the user's (Kestro never started) it starts the host and waits for one.
// With --folder the one path is the folder to act in (its background was clicked, or it stands for the
// background); only items that need no selection run so, and the folder itself is never renamed, moved,
// copied or trashed. A failure reaches the user as the host's failure notice, through the same queue.
#include "handoff/HandoffFiles.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using nlohmann::json;

struct Arguments {
    bool folder = false;
    std::string itemID;
    std::vector<std::string> paths;
};

std::optional<Arguments> parse(int argc, char* argv[]) {
    Arguments arguments;
    int index = 1;
    for (; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "--folder")
            arguments.folder = true;
        else if (argument == "--")
            break;
        else if (arguments.itemID.empty() && !argument.starts_with("-"))
            arguments.itemID = argument;
        else
            return std::nullopt;
    }
    if (arguments.itemID.empty() || index == argc)
        return std::nullopt;
    for (++index; index < argc; ++index)
        arguments.paths.emplace_back(argv[index]);
    if (arguments.folder && arguments.paths.empty())
        return std::nullopt;
    return arguments;
}

const json* findItem(const json& items, const std::string& id) {
    if (!items.is_array())
        return nullptr;
    for (const json& item : items) {
        if (!item.is_object())
            continue;
        const auto found = item.find("id");
        if (found != item.end() && found->is_string() && *found == id && item.contains("actionID"))
            return &item;
        if (const auto children = item.find("children"); children != item.end()) {
            if (const json* inner = findItem(*children, id))
                return inner;
        }
    }
    return nullptr;
}

std::optional<std::string> stringField(const json& item, const char* key) {
    const auto found = item.find(key);
    if (found == item.end() || !found->is_string())
        return std::nullopt;
    return found->get<std::string>();
}

// The host shows the message as its failure notice; with no host running, one is started for it.
void notifyUser(const std::string& message) {
    std::string error;
    const json notice = {{"actionID", ""}, {"selectedPaths", json::array()}, {"handoffError", message}};
    if (!HandoffFiles::enqueue(notice.dump(), error))
        return;
    if (!HandoffFiles::announceToHost())
        HandoffFiles::startHost(error);
}

// Someone who never started Kestro has only the menus installed for every user of the machine (the
// package's): start the host, which writes the user's menu description as it starts, and wait for it.
void startHostForFirstClick() {
    const std::string description = HandoffFiles::menuDescriptionPath();
    struct stat status {};
    std::string error;
    if (::stat(description.c_str(), &status) == 0 || errno != ENOENT || HandoffFiles::announceToHost() ||
        !HandoffFiles::startHost(error))
        return;
    const timespec pause{0, 50 * 1000 * 1000};
    for (int waited = 0; waited < 200 && ::stat(description.c_str(), &status) != 0; ++waited)
        ::nanosleep(&pause, nullptr);
}

int fail(const std::string& message, const std::string& detail, bool reachUser = true) {
    HandoffFiles::log("file manager hand-off failed: " + detail);
    std::fprintf(stderr, "kestro-handoff: %s\n", message.c_str());
    if (reachUser)
        notifyUser(message);
    return 1;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::optional<Arguments> arguments = parse(argc, argv);
    if (!arguments) {
        std::fprintf(stderr, "用法：kestro-handoff [--folder] 菜单项 -- 路径...\n");
        return 2;
    }
    std::vector<std::string> paths;
    for (const std::string& path : arguments->paths) {
        if (path.empty() || !HandoffFiles::isValidUtf8(path))
            return fail("路径无效：文件名不是有效的 UTF-8 文本。", "invalid path argument");
        paths.push_back(HandoffFiles::absolute(path));
    }

    startHostForFirstClick();
    std::string error;
    const std::optional<std::string> description =
        HandoffFiles::readPrivateFile(HandoffFiles::menuDescriptionPath(), 4 << 20, error);
    if (!description)
        return fail("找不到 Kestro 菜单，请先启动 Kestro。", "menu description unreadable: " + error);
    const json menu = json::parse(*description, nullptr, false);
    const json* item = nullptr;
    if (menu.is_object()) {
        if (const auto items = menu.find("items"); items != menu.end())
            item = findItem(*items, arguments->itemID);
    }
    const std::optional<std::string> actionID = item ? stringField(*item, "actionID") : std::nullopt;
    if (!actionID || actionID->empty())
        return fail("这个菜单项已不存在，请重新打开右键菜单。", "no menu item " + arguments->itemID);

    const std::string title = stringField(*item, "title").value_or(*actionID);
    if (arguments->folder) {
        const auto background = item->find("background");
        if (background == item->end() || *background != true)
            return fail("“" + title + "”要先选中文件，在文件夹的空白处不能使用。",
                        "item " + arguments->itemID + " needs a selection, clicked on a folder background");
        // Several folders selected at once stand for no one folder to act in.
        if (paths.size() != 1)
            return fail("“" + title + "”一次只能用于一个文件夹。",
                        "item " + arguments->itemID + " given several folders");
    }

    json request = {{"actionID", *actionID}};
    if (arguments->folder) {
        request["selectedPaths"] = json::array();
        request["targetedPath"] = paths.front();
    } else {
        request["selectedPaths"] = paths;
    }
    if (const auto destination = stringField(*item, "destinationPath"))
        request["destinationPath"] = *destination;

    if (!HandoffFiles::enqueue(request.dump(), error))
        return fail("无法把请求交给 Kestro：" + error, "queue write failed: " + error, false);
    if (HandoffFiles::announceToHost())
        return 0;
    // No host listens: start one; it runs the queue as it starts.
    if (!HandoffFiles::startHost(error))
        return fail("无法启动 Kestro：" + error, "host start failed: " + error, false);
    return 0;
}
