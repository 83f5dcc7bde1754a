#include "platform/linux/LinuxFileManagerScripting.h"

#include "platform/KestroError.h"
#include "platform/Platform.h"

#include <QCoreApplication>

QString LinuxFileManagerScripting::runScriptOutput(const QString&) {
    throw PlatformError(
        QCoreApplication::translate("LinuxFileManagerScripting", "这个系统的文件管理器不支持脚本控制。"));
}

std::shared_ptr<FileManagerScripting> createSystemFileManagerScripting() {
    return std::make_shared<LinuxFileManagerScripting>();
}
