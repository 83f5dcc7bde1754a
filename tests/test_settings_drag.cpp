// Dragging rows of the settings window to a new place, start to drop, under a real X server (Xvfb): the
// offscreen platform has no drag and drop of its own. Also how its text is drawn there, under each locale.
#include "app/QtChineseTexts.h"
#include "catalogue/AppPreferencesStore.h"
#include "catalogue/FeatureSettingsStore.h"
#include "settings-ui/FeatureChildrenSection.h"
#include "settings-ui/FeatureDetailView.h"
#include "settings-ui/FittedListView.h"
#include "settings-ui/SettingsContentView.h"
#include "settings-ui/SettingsRowDelegate.h"
#include "stores/CustomDestinationStore.h"
#include "stores/CustomShortcutActionStore.h"
#include "stores/FinderViewPresetStore.h"
#include "stores/ScheduledDeletionListStore.h"
#include "support/ModalAnswer.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QPainter>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The settings window over fresh stores in a private home.
struct Window {
    TestEnvironment environment;
    FeatureSettingsStore featureSettings;
    AppPreferencesStore preferences;
    CustomDestinationStore destinations;
    CustomShortcutActionStore customActions;
    FinderViewPresetStore presets;
    ScheduledDeletionListStore deletions;
    SettingsContentView view{
        SettingsStores{featureSettings, preferences, destinations, customActions, presets, deletions}};

    Window() { view.resize(860, 640); }
};

} // namespace

class TestSettingsDrag : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        if (QGuiApplication::platformName() != u"xcb"_qs)
            QSKIP("drag and drop needs an X server; ctest runs this test under xvfb-run");
    }

    // ctest runs this under C.UTF-8 and zh_CN.UTF-8: the font is the host's.
    void textIsSimplifiedChineseAndUncutUnderTheLocale() {
        useSimplifiedChineseFont();
        // 直 is drawn differently in Japanese and in Simplified Chinese.
        const auto glyph = [](QFont font) {
            QImage image(48, 48, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            font.setPixelSize(40);
            painter.setFont(font);
            painter.drawText(image.rect(), Qt::AlignCenter, u"直"_qs);
            return image;
        };
        QCOMPARE(glyph(QApplication::font()), glyph(QFont(u"Noto Sans CJK SC"_qs)));
        QVERIFY(glyph(QApplication::font()) != glyph(QFont(u"Noto Sans CJK JP"_qs)));

        // Each line of every row, drawn in its rect as the row draws it, loses nothing to the rect's edges.
        Window window;
        window.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window.view));
        QList<SettingsPage> pages{SettingsPage::preferences()};
        for (const KestroFeature& feature : KestroFeature::allCases())
            pages.append(SettingsPage::of(feature));
        int lines = 0;
        for (const SettingsPage& page : pages) {
            window.view.showPage(page);
            for (const QAbstractItemView* list :
                 window.view.currentDetail()->findChildren<QAbstractItemView*>()) {
                const auto* delegate = qobject_cast<SettingsRowDelegate*>(list->itemDelegate());
                for (int row = 0; delegate && row < list->model()->rowCount(); ++row) {
                    const QModelIndex index = list->model()->index(row, 0);
                    QStyleOptionViewItem option;
                    option.initFrom(list);
                    option.rect =
                        QRect(QPoint(), delegate->sizeHint(option, index).expandedTo(QSize(600, 0)));
                    for (const SettingsRowDelegate::TextLine& line : delegate->textLines(option, index)) {
                        const auto drawn = [&line](int flags) {
                            QImage image(line.rect.size() + QSize(40, 40), QImage::Format_RGB32);
                            image.fill(Qt::white);
                            QPainter painter(&image);
                            painter.setFont(line.font);
                            painter.drawText(QRect(QPoint(20, 20), line.rect.size()), flags, line.text);
                            return image;
                        };
                        QVERIFY2(drawn(int(line.alignment)) == drawn(int(line.alignment) | Qt::TextDontClip),
                                 qPrintable(line.text));
                        ++lines;
                    }
                }
            }
        }
        QVERIFY(lines > 100);
    }

    // A child dragged by its handle, start to drop. (Every list moves its rows through the same model, whose
    // drops test_widgets makes in the sidebar without a drag.)
    void aRowDraggedMovesInTheStore() {
        Window window;
        FeatureSettingsStore& store = window.featureSettings;
        window.view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window.view));
        window.view.showPage(SettingsPage::of(KestroFeature::createFile));
        QListView* list = window.view.featurePage(KestroFeature::createFile)->childrenSection()->listView();
        const QSet<QString> enabled = store.settings().enabledChildIDs;
        QList<KestroFeatureChild> expected = store.orderedChildren(KestroFeature::createFile);
        const QRect first = Modal::rowRect(list, 0);
        const QRect third = Modal::rowRect(list, 2);
        // Dragged by its handle to just below the middle of the third row, it is third now. (A drag from
        // anywhere else starts none: test_widgets.)
        Modal::drag(list, SettingsRowDelegate::handleRect(first).center(),
                    QPoint(first.center().x(), third.center().y() + third.height() / 4));
        expected.move(0, 2);
        QCOMPARE(store.orderedChildren(KestroFeature::createFile), expected);
        QCOMPARE(store.settings().enabledChildIDs, enabled);
    }
};

QTEST_MAIN(TestSettingsDrag)
#include "test_settings_drag.moc"
