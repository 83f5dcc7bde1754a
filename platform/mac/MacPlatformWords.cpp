#include "platform/PlatformWords.h"

#include <QCoreApplication>

#include <iterator>

namespace {

// macOS's own names: Finder, 废纸篓, 文稿, Terminal.
constexpr struct {
    PlatformText key;
    const char* text;
} texts[] = {
    {PlatformText::fileManagerMenu, QT_TRANSLATE_NOOP("PlatformWords", "Finder 右键菜单")},
    {PlatformText::enableInFileManagerMenu, QT_TRANSLATE_NOOP("PlatformWords", "在 Finder 右键菜单中启用")},
    {PlatformText::customActionsEmpty,
     QT_TRANSLATE_NOOP("PlatformWords", "添加已有快捷指令或扩展后，它会出现在 Finder 右键菜单里。")},
    {PlatformText::featureRequestExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "描述你希望 Kestro 增加的 Finder 右键功能。")},
    {PlatformText::launchAtLoginExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "登录 macOS 后自动启动 Kestro，让 Finder 右键菜单随时可用。")},
    {PlatformText::revealCreatedExplanation,
     QT_TRANSLATE_NOOP("PlatformWords",
                       "创建文件或文件夹后，让 Finder 高亮新项目。关闭后只在当前目录静默创建。")},
    {PlatformText::revealResultsExplanation,
     QT_TRANSLATE_NOOP("PlatformWords",
                       "复制、移动、重命名、图片和 PDF 处理完成后，在 Finder 中显示结果文件。")},
    {PlatformText::preferencesSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "控制 Kestro 执行右键操作后的 Finder 行为。")},
    {PlatformText::scheduledDeletionRow, QT_TRANSLATE_NOOP("PlatformWords", "%1 · %2 移到废纸篓")},
    {PlatformText::noSelection, QT_TRANSLATE_NOOP("PlatformWords", "请先在 Finder 中选择文件。")},
    {PlatformText::noTargetDirectory,
     QT_TRANSLATE_NOOP("PlatformWords", "没有找到可以执行操作的 Finder 目录。")},
    {PlatformText::shortcutPickerExplanation,
     QT_TRANSLATE_NOOP("PlatformWords", "选择一个已有快捷指令，Kestro 会把 Finder 选中的文件传给它。")},
    {PlatformText::documentsFolder, QT_TRANSLATE_NOOP("PlatformWords", "文稿")},
    {PlatformText::quickOpenSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "一键打开桌面、下载、文稿等常用位置。")},
    {PlatformText::openWithSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "用预览、文本编辑等应用打开选中文件。")},
    {PlatformText::viewOptionsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "切换 Finder 的显示方式和排序方式。")},
    {PlatformText::customActionsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把 Finder 选中的文件交给你的快捷指令或扩展处理。")},
    {PlatformText::scheduledDeletionSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件设为几天后自动移到废纸篓。")},
    {PlatformText::rtfDocumentSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "创建一个可用文本编辑打开的富文本文件。")},
    {PlatformText::openDocumentsSummary, QT_TRANSLATE_NOOP("PlatformWords", "打开文稿文件夹。")},
    {PlatformText::copyToDocuments, QT_TRANSLATE_NOOP("PlatformWords", "复制到文稿")},
    {PlatformText::copyToDocumentsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件复制到文稿文件夹。")},
    {PlatformText::openInTerminalSummary, QT_TRANSLATE_NOOP("PlatformWords", "用 Terminal 打开当前目录。")},
    {PlatformText::terminalNotFound, QT_TRANSLATE_NOOP("PlatformWords", "没有找到 Terminal 应用。")},
    {PlatformText::revealInFileManager, QT_TRANSLATE_NOOP("PlatformWords", "在 Finder 中显示")},
    {PlatformText::viewPresetSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "在右键菜单中显示你自定义的 Finder 视图与排序方案。")},
    {PlatformText::moveToDocuments, QT_TRANSLATE_NOOP("PlatformWords", "移动到文稿")},
    {PlatformText::moveToDocumentsSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "把选中文件移动到文稿文件夹。")},
    {PlatformText::scheduleDelete1Hour, QT_TRANSLATE_NOOP("PlatformWords", "1 小时后移到废纸篓")},
    {PlatformText::scheduleDelete7Days, QT_TRANSLATE_NOOP("PlatformWords", "7 天后移到废纸篓")},
    {PlatformText::scheduleDelete30Days, QT_TRANSLATE_NOOP("PlatformWords", "30 天后移到废纸篓")},
    {PlatformText::scheduleDelete90Days, QT_TRANSLATE_NOOP("PlatformWords", "90 天后移到废纸篓")},
    {PlatformText::scheduleDeleteSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "到期后自动把选中文件移到废纸篓。")},
    {PlatformText::toggleHiddenFilesSummary,
     QT_TRANSLATE_NOOP("PlatformWords", "切换 Finder 是否显示以点号开头和系统隐藏的文件。")},
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
