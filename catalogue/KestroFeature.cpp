#include "catalogue/KestroFeature.h"

#include "catalogue/KestroFeatureChildTable.h"
#include "platform/PlatformWords.h"

#include <QCoreApplication>

namespace {

struct FeatureRow {
    const char* id;
    const char* title;
    CatalogueText summary;
    const char* systemImage;
};

// Indexed by KestroFeature::Case.
constexpr FeatureRow featureRows[] = {
    {"createFile", QT_TRANSLATE_NOOP("KestroFeature", "新建"),
     QT_TRANSLATE_NOOP("KestroFeature", "在当前文件夹中新建文件或文件夹。"), "doc.badge.plus"},
    {"quickOpen", QT_TRANSLATE_NOOP("KestroFeature", "打开"), PlatformText::quickOpenSummary, "folder"},
    {"copyFile", QT_TRANSLATE_NOOP("KestroFeature", "复制到"),
     QT_TRANSLATE_NOOP("KestroFeature", "把选中的文件复制到指定文件夹。"), "doc.on.doc"},
    {"copyPath", QT_TRANSLATE_NOOP("KestroFeature", "复制名称与路径"),
     QT_TRANSLATE_NOOP("KestroFeature", "复制文件名、完整路径或所在文件夹路径。"), "link"},
    {"openWith", QT_TRANSLATE_NOOP("KestroFeature", "用应用打开"), PlatformText::openWithSummary,
     "app.badge"},
    {"viewOptions", QT_TRANSLATE_NOOP("KestroFeature", "调整显示方式"), PlatformText::viewOptionsSummary,
     "rectangle.grid.2x2"},
    {"customActions", QT_TRANSLATE_NOOP("KestroFeature", "自定义动作"), PlatformText::customActionsSummary,
     "sparkles"},
    {"organizeFile", QT_TRANSLATE_NOOP("KestroFeature", "移动到"),
     QT_TRANSLATE_NOOP("KestroFeature", "移动文件，或把选中项目收进新文件夹。"), "tray.and.arrow.down"},
    {"batchRename", QT_TRANSLATE_NOOP("KestroFeature", "批量改名"),
     QT_TRANSLATE_NOOP("KestroFeature", "一次修改多个文件的名称。"), "textformat"},
    {"archiveTools", QT_TRANSLATE_NOOP("KestroFeature", "压缩与解压缩"),
     QT_TRANSLATE_NOOP("KestroFeature", "把文件压缩成 ZIP，或解压 ZIP 文件。"), "archivebox"},
    {"scheduledDeletion", QT_TRANSLATE_NOOP("KestroFeature", "定时清理"),
     PlatformText::scheduledDeletionSummary, "calendar.badge.clock"},
    {"imageTools", QT_TRANSLATE_NOOP("KestroFeature", "处理图片"),
     QT_TRANSLATE_NOOP("KestroFeature", "转换格式、调整大小或压缩图片。"), "photo"},
    {"pdfTools", QT_TRANSLATE_NOOP("KestroFeature", "处理 PDF"),
     QT_TRANSLATE_NOOP("KestroFeature", "合并、拆分、压缩 PDF，或把图片变成 PDF。"), "doc.richtext"},
    {"developerTools", QT_TRANSLATE_NOOP("KestroFeature", "更多工具"),
     QT_TRANSLATE_NOOP("KestroFeature", "复制文件大小、校验值，或显示隐藏文件。"), "number"},
};
static_assert(std::size(featureRows) == KestroFeature::developerTools + 1);

const FeatureRow& row(KestroFeature feature) {
    return featureRows[feature.value()];
}

} // namespace

QList<KestroFeature> KestroFeature::allCases() {
    QList<KestroFeature> features;
    features.reserve(std::size(featureRows));
    for (int index = 0; index < int(std::size(featureRows)); ++index)
        features.append(KestroFeature(Case(index)));
    return features;
}

std::optional<KestroFeature> KestroFeature::fromRawValue(const QString& rawValue) {
    for (int index = 0; index < int(std::size(featureRows)); ++index) {
        if (rawValue == QLatin1String(featureRows[index].id))
            return KestroFeature(Case(index));
    }
    return std::nullopt;
}

std::optional<KestroFeature> KestroFeature::owning(const QString& actionID) {
    for (const KestroFeatureChildRow& child : kestroFeatureChildRows()) {
        if (actionID == QLatin1String(child.actionID))
            return KestroFeature(child.feature);
    }
    return std::nullopt;
}

QString KestroFeature::rawValue() const {
    return QString::fromLatin1(row(*this).id);
}

QString KestroFeature::title() const {
    return QCoreApplication::translate("KestroFeature", row(*this).title);
}

QString KestroFeature::summary() const {
    return row(*this).summary.text("KestroFeature");
}

QString KestroFeature::systemImage() const {
    return QString::fromLatin1(row(*this).systemImage);
}

QList<KestroFeatureChild> KestroFeature::children() const {
    QList<KestroFeatureChild> children;
    for (const KestroFeatureChildRow& child : kestroFeatureChildRows()) {
        if (child.feature != m_case)
            continue;
        children.append({child.title.text("KestroFeatureChild"), child.summary.text("KestroFeatureChild"),
                         QString::fromLatin1(child.systemImage), QString::fromLatin1(child.actionID)});
    }
    return children;
}

QStringList KestroFeature::childIDs() const {
    QStringList ids;
    for (const KestroFeatureChildRow& child : kestroFeatureChildRows()) {
        if (child.feature == m_case)
            ids.append(QString::fromLatin1(child.actionID));
    }
    return ids;
}
