#include "actions/FinderViewPresetScripts.h"

#include "actions/ProcessRunner.h"

namespace {

const char* const sortMenuHead = "tell application \"Finder\" to activate\n"
                                 "delay 0.1\n"
                                 "tell application \"System Events\"\n"
                                 "    tell process \"Finder\"\n"
                                 "        set sortNames to ";

const char* const sortMenuTail =
    "\n"
    "        set viewMenu to menu 1 of menu bar item 5 of menu bar 1\n"
    "        repeat with parentTitle in {\"排序方式\", \"Sort By\", \"整理方式\", \"Arrange By\", "
    "\"並べ替え\", \"表示順序\", \"정렬 방식\", \"정렬 기준\", \"Trier par\", \"Organiser par\", \"Sortieren "
    "nach\", \"Anordnen nach\", \"Ordenar por\", \"Organizar por\", \"Ordina per\", \"Disponi per\", "
    "\"Ordenar Por\", \"Organizar Por\", \"Сортировать по\", \"Упорядочить по\"}\n"
    "            try\n"
    "                set parentItem to first menu item of viewMenu whose name is parentTitle\n"
    "                set sortMenu to menu 1 of parentItem\n"
    "                repeat with sortName in sortNames\n"
    "                    try\n"
    "                        click (first menu item of sortMenu whose name is sortName)\n"
    "                        return\n"
    "                    end try\n"
    "                end repeat\n"
    "            end try\n"
    "        end repeat\n"
    "        error \"Sort menu item not found\"\n"
    "    end tell\n"
    "end tell";

const char* const stateScriptText =
    "tell application \"Finder\"\n"
    "    if (count of Finder windows) is 0 then\n"
    "        return \"no-window\"\n"
    "    end if\n"
    "    set viewName to current view of front Finder window as text\n"
    "    set listColumnName to \"\"\n"
    "    set listDirection to \"\"\n"
    "    set iconArrangement to \"\"\n"
    "    try\n"
    "        set listColumnName to name of sort column of list view options of front Finder window\n"
    "        set listDirection to sort direction of sort column of list view options of front Finder window "
    "as text\n"
    "    end try\n"
    "    try\n"
    "        set iconArrangement to arrangement of icon view options of front Finder window as text\n"
    "    end try\n"
    "    return viewName & \" | list=\" & listColumnName & \"/\" & listDirection & \" | icon=\" & "
    "iconArrangement\n"
    "end tell";

QString finderWindowHead() {
    return QStringLiteral("tell application \"Finder\"\n"
                          "activate\n"
                          "if (count of Finder windows) is 0 then\n"
                          "make new Finder window to desktop\n"
                          "end if");
}

// The lines that set a list view's sort column, and its direction where the sort has one.
QStringList listSortLines(FinderSortMode sortMode) {
    QStringList lines;
    const std::optional<QString> column = FinderSortModes::listColumnValue(sortMode);
    if (!column)
        return lines;
    lines << QStringLiteral("tell list view options of front Finder window")
          << QStringLiteral("set visible of column ") + *column + QStringLiteral(" to true")
          << QStringLiteral("set sort column to column ") + *column;
    if (const std::optional<QString> direction = FinderSortModes::sortDirectionValue(sortMode))
        lines << QStringLiteral("set sort direction of sort column to ") + *direction;
    lines << QStringLiteral("end tell");
    return lines;
}

} // namespace

QString FinderViewPresetScripts::viewScript(FinderViewMode viewMode, FinderSortMode sortMode) {
    QStringList lines{finderWindowHead(),
                      QStringLiteral("set current view of front Finder window to ") +
                          FinderViewModes::scriptViewName(viewMode),
                      QStringLiteral("delay 0.15")};
    const std::optional<QString> arrangement = FinderSortModes::iconArrangementValue(sortMode);
    if (viewMode == FinderViewMode::icon && arrangement) {
        lines << QStringLiteral("set arrangement of icon view options of front Finder window to ") +
                     *arrangement;
    } else if (viewMode == FinderViewMode::list && FinderSortModes::listColumnValue(sortMode)) {
        lines << QStringLiteral("delay 0.15") << listSortLines(sortMode);
    }
    lines << QStringLiteral("end tell");
    return lines.join(QLatin1Char('\n'));
}

QStringList FinderViewPresetScripts::sortMenuItemNames(FinderSortMode sortMode) {
    static const QList<std::pair<FinderSortMode, QList<const char*>>> table = {
        {FinderSortMode::name,
         {"名称", "Name", "名", "名前", "이름", "Nom", "Nombre", "Nome", "Название", "名稱"}},
        {FinderSortMode::modificationDate,
         {"修改日期", "Date Modified", "変更日", "修正日", "수정일", "Date de modification", "Änderungsdatum",
          "Fecha de modificación", "Data di modifica", "Data de modificação", "Дата изменения"}},
        {FinderSortMode::creationDate,
         {"创建日期", "Date Created", "作成日", "생성일", "Date de création", "Erstellungsdatum",
          "Fecha de creación", "Data di creazione", "Data de criação", "Дата создания", "建立日期"}},
        {FinderSortMode::size,
         {"大小", "Size", "サイズ", "크기", "Taille", "Größe", "Tamaño", "Dimensioni", "Tamanho", "Размер"}},
        {FinderSortMode::kind, {"种类", "Kind", "種類", "종류", "Type", "Art", "Clase", "Tipo", "Тип"}},
        {FinderSortMode::label,
         {"标签", "Tags", "Tag", "Label", "タグ", "태그", "Étiquettes", "Etiquetas", "Etichette", "Теги",
          "標籤"}},
    };
    QStringList names;
    for (const auto& [mode, texts] : table) {
        if (mode != sortMode)
            continue;
        for (const char* text : texts)
            names.append(QString::fromUtf8(text));
    }
    return names;
}

QString FinderViewPresetScripts::sortMenuScript(FinderSortMode sortMode) {
    const QStringList names = sortMenuItemNames(sortMode);
    if (names.isEmpty())
        return {};
    return QString::fromUtf8(sortMenuHead) + ProcessRunner::appleScriptList(names) +
           QString::fromUtf8(sortMenuTail);
}

QString FinderViewPresetScripts::stateScript() {
    return QString::fromUtf8(stateScriptText);
}

QString FinderViewPresetScripts::viewModeScript(FinderViewMode viewMode) {
    return QStringList{finderWindowHead(),
                       QStringLiteral("set current view of front Finder window to ") +
                           FinderViewModes::scriptViewName(viewMode),
                       QStringLiteral("end tell")}
        .join(QLatin1Char('\n'));
}

QString FinderViewPresetScripts::sortColumnScript(FinderSortMode sortMode) {
    QStringList lines{finderWindowHead()};
    lines << listSortLines(sortMode) << QStringLiteral("end tell");
    return lines.join(QLatin1Char('\n'));
}
