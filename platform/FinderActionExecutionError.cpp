#include "platform/FinderActionExecutionError.h"

#include "platform/PlatformWords.h"

#include <QCoreApplication>

FinderActionExecutionError::FinderActionExecutionError(Case errorCase, QString payload)
    : m_case(errorCase)
    , m_payload(std::move(payload)) {}

QString FinderActionExecutionError::errorDescription() const {
    const auto tr = [](const char* text) {
        return QCoreApplication::translate("FinderActionExecutionError", text);
    };
    switch (m_case) {
    case Case::applicationNotFound:
        return tr("没有找到 %1 应用。").arg(m_payload);
    case Case::destinationDirectoryUnavailable:
        return tr("目标文件夹不可用：%1").arg(m_payload);
    case Case::invalidPath:
        return tr("路径不可用：%1").arg(m_payload);
    case Case::sourceItemMissing:
        return tr("所选文件不存在或无法访问：%1").arg(m_payload);
    case Case::commandFailed:
        return m_payload.isEmpty() ? tr("系统命令执行失败。") : m_payload;
    case Case::unsupportedAction:
        return tr("暂不支持这个右键动作：%1。").arg(m_payload);
    case Case::noSelection:
        return platformText(PlatformText::noSelection);
    case Case::noTargetDirectory:
        return platformText(PlatformText::noTargetDirectory);
    case Case::noClipboardPath:
        return tr("剪贴板里没有可打开的路径。");
    case Case::pasteboardWriteFailed:
        return tr("写入剪贴板失败。");
    }
    return {};
}
