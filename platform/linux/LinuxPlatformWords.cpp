#include "platform/PlatformWords.h"

#include <QCoreApplication>

#include <iterator>

namespace {

// The words of GNOME's and KDE's Chinese: 文件管理器, 回收站, 文档, 终端.
constexpr struct {
    PlatformText key;
    const char* text;
} texts[] = {
    {PlatformText::fileManagerMenu, QT_TRANSLATE_NOOP("PlatformWords", "文件管理器右键菜单")},
    {PlatformText::enableInFileManagerMenu, QT_TRANSLATE_NOOP("PlatformWords", "在文件管理器右键菜单中启用")},
    {PlatformText::customActionsEmpty,
     QT_TRANSLATE_NOOP("PlatformWords", "添加脚本后，它会出现在文件管理器右键菜单里。")},
    {PlatformText::featureRequestExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "描述你希望 Kestro 增加的文件管理器右键功能。")},
    {PlatformText::launchAtLoginExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "登录 Linux 桌面后自动启动 Kestro，让文件管理器右键菜单随时可用。")},
    {PlatformText::revealCreatedExplanation,
     QT_TRANSLATE_NOOP("PlatformWords",
                       "创建文件或文件夹后，在文件管理器中选中新项目。关闭后只在当前目录静默创建。")},
    {PlatformText::revealResultsExplanation,
     QT_TRANSLATE_NOOP("PlatformWords",
                       "复制、移动、重命名、图片和 PDF 处理完成后，在文件管理器中显示结果文件。")},
    {PlatformText::preferencesSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "控制 Kestro 执行右键操作后文件管理器的行为。")},
    {PlatformText::scheduledDeletionRow, QT_TRANSLATE_NOOP("PlatformWords", "%1 · %2 移到回收站")},
    {PlatformText::noSelection, QT_TRANSLATE_NOOP("PlatformWords", "请先在文件管理器中选择文件。")},
    {PlatformText::noTargetDirectory,
     QT_TRANSLATE_NOOP("PlatformWords", "没有找到可以执行操作的文件管理器目录。")},
    {PlatformText::shortcutPickerExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "选择一个已有快捷指令，Kestro 会把文件管理器中选中的文件传给它。")},
    {PlatformText::documentsFolder, QT_TRANSLATE_NOOP("PlatformWords", "文档")},
    {PlatformText::quickOpenSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "一键打开桌面、下载、文档等常用位置。")},
    {PlatformText::openWithSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "用文档查看器、文本编辑器等应用打开选中文件。")},
    {PlatformText::viewOptionsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "切换文件管理器的显示方式和排序方式。")},
    {PlatformText::customActionsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把文件管理器中选中的文件交给你的脚本处理。")},
    {PlatformText::scheduledDeletionSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件设为几天后自动移到回收站。")},
    {PlatformText::rtfDocumentSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "创建一个可用文字处理软件打开的富文本文件。")},
    {PlatformText::openDocumentsSummary, QT_TRANSLATE_NOOP("PlatformWords", "打开文档文件夹。")},
    {PlatformText::copyToDocuments, QT_TRANSLATE_NOOP("PlatformWords", "复制到文档")},
    {PlatformText::copyToDocumentsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件复制到文档文件夹。")},
    {PlatformText::openInTerminalSummary, QT_TRANSLATE_NOOP("PlatformWords", "用终端打开当前目录。")},
    {PlatformText::terminalNotFound,
     QT_TRANSLATE_NOOP("PlatformWords", "没有找到可用的终端：请安装一个终端，或用 TERMINAL 环境变量指定。")},
    {PlatformText::revealInFileManager, QT_TRANSLATE_NOOP("PlatformWords", "在文件管理器中显示")},
    {PlatformText::viewPresetSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "在右键菜单中显示你自定义的文件管理器视图与排序方案。")},
    {PlatformText::moveToDocuments, QT_TRANSLATE_NOOP("PlatformWords", "移动到文档")},
    {PlatformText::moveToDocumentsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件移动到文档文件夹。")},
    {PlatformText::scheduleDelete1Hour, QT_TRANSLATE_NOOP("PlatformWords", "1 小时后移到回收站")},
    {PlatformText::scheduleDelete7Days, QT_TRANSLATE_NOOP("PlatformWords", "7 天后移到回收站")},
    {PlatformText::scheduleDelete30Days, QT_TRANSLATE_NOOP("PlatformWords", "30 天后移到回收站")},
    {PlatformText::scheduleDelete90Days, QT_TRANSLATE_NOOP("PlatformWords", "90 天后移到回收站")},
    {PlatformText::scheduleDeleteSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "到期后自动把选中文件移到回收站。")},
    {PlatformText::toggleHiddenFilesSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "切换文件管理器是否显示以点号开头的隐藏文件。")},
};
// In the order of PlatformText, every one present.
constexpr bool inOrder() {
    for (std::size_t index = 0; index < std::size(texts); ++index) {
        if (texts[index].key != PlatformText(index))
            return false;
    }
    return std::size(texts) == std::size_t(PlatformText::toggleHiddenFilesSummary) + 1;
}
static_assert(inOrder());

} // namespace

QString platformText(PlatformText text) {
    return QCoreApplication::translate("PlatformWords", texts[std::size_t(text)].text);
}
