#include "stores/CustomDestination.h"

#include <QCoreApplication>

namespace CustomDestinationKinds {

QList<CustomDestinationKind> allCases() {
    return {CustomDestinationKind::copy, CustomDestinationKind::move, CustomDestinationKind::quickOpen,
            CustomDestinationKind::openApplication};
}

QString rawValue(CustomDestinationKind kind) {
    switch (kind) {
    case CustomDestinationKind::copy:
        return QStringLiteral("copy");
    case CustomDestinationKind::move:
        return QStringLiteral("move");
    case CustomDestinationKind::quickOpen:
        return QStringLiteral("quickOpen");
    case CustomDestinationKind::openApplication:
        break;
    }
    return QStringLiteral("openApplication");
}

std::optional<CustomDestinationKind> fromRawValue(const QString& value) {
    for (CustomDestinationKind kind : allCases()) {
        if (rawValue(kind) == value)
            return kind;
    }
    return std::nullopt;
}

QString title(CustomDestinationKind kind) {
    switch (kind) {
    case CustomDestinationKind::copy:
        return QCoreApplication::translate("CustomDestinationKind", "复制到文件夹");
    case CustomDestinationKind::move:
        return QCoreApplication::translate("CustomDestinationKind", "移动到文件夹");
    case CustomDestinationKind::quickOpen:
        return QCoreApplication::translate("CustomDestinationKind", "打开");
    case CustomDestinationKind::openApplication:
        break;
    }
    return QCoreApplication::translate("CustomDestinationKind", "用应用打开");
}

QString sectionTitle(CustomDestinationKind kind) {
    if (kind == CustomDestinationKind::openApplication)
        return QCoreApplication::translate("CustomDestinationKind", "常用应用");
    return QCoreApplication::translate("CustomDestinationKind", "%1列表").arg(title(kind));
}

QString addButtonTitle(CustomDestinationKind kind) {
    if (kind == CustomDestinationKind::openApplication)
        return QCoreApplication::translate("CustomDestinationKind", "添加应用");
    return QCoreApplication::translate("CustomDestinationKind", "添加常用路径");
}

QString addPanelTitle(CustomDestinationKind kind) {
    if (kind == CustomDestinationKind::openApplication)
        return QCoreApplication::translate("CustomDestinationKind", "选择常用应用");
    return QCoreApplication::translate("CustomDestinationKind", "选择要添加到“%1”的文件夹").arg(title(kind));
}

} // namespace CustomDestinationKinds
