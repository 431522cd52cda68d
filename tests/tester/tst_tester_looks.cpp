// SPDX-License-Identifier: Apache-2.0
// Whether everything can be read and told apart in both themes, and whether each icon is there.
#include "IconProvider.h"
#include "JobTest.h"

#include <QDirIterator>
#include <QFile>
#include <QMetaProperty>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {
constexpr double textContrast = 4.5;
constexpr double markContrast = 3;

/// Of the part of a colour that one channel makes.
double linear(double channel)
{
    constexpr double knee = 0.04045;
    return channel <= knee ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

/// As the Web Content Accessibility Guidelines define it.
double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &first, const QColor &second)
{
    const auto [dark, light] = std::minmax({luminance(first), luminance(second)});
    return (light + 0.05) / (dark + 0.05);
}

/// The colour that most of its pixels have.
QColor mainColor(const QImage &image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    return most == counts.cend() ? QColor() : QColor(most.key());
}

QStringList iconNames()
{
    QStringList names = QDir(QStringLiteral(":/tester/icons")).entryList({QStringLiteral("*.svg")});
    for (QString &name : names)
        name.chop(static_cast<int>(qstrlen(".svg")));
    return names;
}

/// What the files say behind "icon:", "iconName:" and the like.
QSet<QString> iconNamesInUse()
{
    static const QRegularExpression place(
        QStringLiteral("\\b(?:icon|iconName|stateIcons):(.*?)(?:,\\s*\\w+:|$)"), QRegularExpression::MultilineOption);
    static const QRegularExpression word(QStringLiteral("\"([^\"]+)\""));
    QSet<QString> names;
    QDirIterator files(
        QStringLiteral(":/tester"), {QStringLiteral("*.qml")}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        for (auto places = place.globalMatch(QString::fromUtf8(file.readAll())); places.hasNext();) {
            for (auto words = word.globalMatch(places.next().captured(1)); words.hasNext();)
                names.insert(words.next().captured(1));
        }
    }
    return names;
}
} // namespace

class tst_TesterLooks : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void cleanupTestCase() const;
    void theFormulaIsThatOfTheGuidelines();
    void eachColourStandsOut_data();
    void eachColourStandsOut();
    void noColourIsLeftOut();
    void eachIconIsDrawnInItsColour_data();
    void eachIconIsDrawnInItsColour();
    void eachNameOfAnIconHasItsFile();
    void aNameThatIsNoIconIsNotDrawn();
    void aThemeThatThereIsNotIsNotTaken();
    void theThemeIsChosenInTheSettings();
    void allThatIsShownStandsOut_data();
    void allThatIsShownStandsOut();
    void pagesOfTheLibraryStayLight();
    void whatFallsShortIsFound();

private:
    QColor colorOf(const QString &expression) const;
    void setTheme(const QString &theme) { tester().settings().setTheme(theme); }
    void checkMessages();
    void checkTiles();
    void checkJob();
    void checkPage(const char *name);
    void checkItem(const QQuickItem *item, const QRectF &room, const QImage &picture);
    void checkColour(
        const QQuickItem *item, const QColor &color, const QRectF &place, double least, const QImage &picture);

    const char *mPage = "";
    QStringList mFaults;
    int mSeen = 0; ///< texts and icons
    double mLeastOfText = 21;
    double mLeastOfMarks = 21;
};

QColor tst_TesterLooks::colorOf(const QString &expression) const
{
    return evaluate(QStringLiteral("Qt.darker(%1, 1)").arg(expression)).value<QColor>(); // also of a text
}

void tst_TesterLooks::cleanupTestCase() const
{
    qInfo("least contrast on the pages: text %.2f, marks %.2f", mLeastOfText, mLeastOfMarks);
}

// --- The palettes ----------------------------------------------------------------------------------------------------

void tst_TesterLooks::theFormulaIsThatOfTheGuidelines()
{
    QCOMPARE(contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(contrast(Qt::white, Qt::white), 1.0);
    QVERIFY(std::abs(contrast(QColor(0x77, 0x77, 0x77), Qt::white) - 4.478) < 0.001); // just too little
}

namespace {
struct Pair
{
    const char *color;
    const char *background;
    double least;
};

constexpr char grounds[] = "page surface";
constexpr Pair pairs[] = {
    {"text", "page surface toolBar", textContrast},
    {"faintText", grounds, textContrast},
    {"accent", grounds, textContrast},
    {"disabled", grounds, textContrast},
    {"warning", grounds, textContrast},
    {"onColor", "accent accentPressed disabled warning", textContrast},
    {"backdropText", "backdrop titleBar failedOnPicture defectOnPicture", textContrast},
    {"line", grounds, markContrast},
    {"focusRing", "page surface toolBar", markContrast},
    {"accent", "toolBar", markContrast},
    {"ringOnPicture", "backdrop", markContrast},
    {"selectedOnPicture", "backdrop", markContrast},
};
constexpr int stateCount = 6;
} // namespace

void tst_TesterLooks::eachColourStandsOut_data()
{
    QTest::addColumn<QString>("theme");
    QTest::addColumn<QString>("color");
    QTest::addColumn<QString>("background");
    QTest::addColumn<double>("least");
    const auto row = [](const QString &theme, const QString &color, const QString &background, double least) {
        QTest::newRow(qPrintable(theme + QStringLiteral(": ") + color + QStringLiteral(" on ") + background))
            << theme << color << background << least;
    };
    const QStringList themes = TesterSettings::themes();
    for (const QString &theme : themes) {
        for (const Pair &pair : pairs) {
            const QStringList backgrounds = QString::fromLatin1(pair.background).split(QLatin1Char(' '));
            for (const QString &background : backgrounds)
                row(theme, QLatin1String(pair.color), background, pair.least);
        }
        for (int i = 0; i < stateCount; ++i) {
            const QString state = QStringLiteral("stateColors[%1]").arg(i);
            row(theme, state, QStringLiteral("page"), textContrast);
            row(theme, state, QStringLiteral("surface"), textContrast);
            row(theme, QStringLiteral("onColor"), state, textContrast);
        }
    }
}

void tst_TesterLooks::eachColourStandsOut()
{
    QFETCH(const QString, theme);
    QFETCH(const QString, color);
    QFETCH(const QString, background);
    QFETCH(const double, least);
    setTheme(theme);

    const QColor front = colorOf(QStringLiteral("TesterStyle.") + color);
    const QColor back = colorOf(QStringLiteral("TesterStyle.") + background);

    QVERIFY(front.isValid() && back.isValid());
    QVERIFY2(contrast(front, back) >= least,
        qPrintable(QStringLiteral("%1: %2 on %3").arg(contrast(front, back)).arg(front.name(), back.name())));
}

/// A new colour is compared with what it is on.
void tst_TesterLooks::noColourIsLeftOut()
{
    QSet<QString> compared{QStringLiteral("dim")}; // it is there to hide
    for (const Pair &pair : pairs) {
        compared.insert(QLatin1String(pair.color));
        const QStringList backgrounds = QString::fromLatin1(pair.background).split(QLatin1Char(' '));
        for (const QString &background : backgrounds)
            compared.insert(background);
    }

    const auto *const style = evaluate(QStringLiteral("TesterStyle")).value<QObject *>();
    QVERIFY(style);
    QStringList names;
    for (int i = 0; i < style->metaObject()->propertyCount(); ++i) {
        const QMetaProperty property = style->metaObject()->property(i);
        if (property.userType() == QMetaType::QColor)
            names.append(QLatin1String(property.name()));
    }

    QVERIFY(names.contains(QStringLiteral("page")));
    for (const QString &name : std::as_const(names))
        QVERIFY2(compared.contains(name), qPrintable(name));
    QCOMPARE(evaluate(QStringLiteral("TesterStyle.stateColors.length")).toInt(), stateCount);
    QCOMPARE(evaluate(QStringLiteral("TesterStyle.stateIcons.length")).toInt(), stateCount);
}

// --- The icons -------------------------------------------------------------------------------------------------------

void tst_TesterLooks::eachIconIsDrawnInItsColour_data()
{
    QTest::addColumn<QString>("name");
    const QStringList names = iconNames();
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << name;
}

void tst_TesterLooks::eachIconIsDrawnInItsColour()
{
    QFETCH(const QString, name);
    constexpr QSize wanted(24, 24);
    const QColor color(QStringLiteral("#2e7d32"));
    QSize size;

    const QImage image = IconProvider().requestImage(name + QLatin1Char('/') + color.name().mid(1), &size, wanted);

    QCOMPARE(image.size(), wanted);
    QCOMPARE(size, wanted);
    int solid = 0;
    for (int y = 0; y < wanted.height(); ++y) {
        for (int x = 0; x < wanted.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() == 255)
                QCOMPARE(pixel, color);
            solid += pixel.alpha() == 255 ? 1 : 0;
        }
    }
    QVERIFY2(solid >= 4, qPrintable(QString::number(solid)));
    QVERIFY(solid < wanted.width() * wanted.height() * 3 / 4); // it is a shape
}

void tst_TesterLooks::eachNameOfAnIconHasItsFile()
{
    const QStringList names = iconNames();

    QVERIFY(names.contains(QStringLiteral("gear")));
    QCOMPARE(iconNamesInUse(), QSet<QString>(names.begin(), names.end()));
}

void tst_TesterLooks::aNameThatIsNoIconIsNotDrawn()
{
    IconProvider provider;
    QSize size;
    QVERIFY(!provider.requestImage(QStringLiteral("gear/123456"), &size, {}).isNull());
    QVERIFY(provider.requestImage(QStringLiteral("gear/green and blue"), &size, {}).isNull());
    QVERIFY(provider.requestImage(QStringLiteral("gear"), &size, {}).isNull());
    QVERIFY(provider.requestImage(QStringLiteral("none/123456"), &size, {}).isNull());
}

// --- The themes ------------------------------------------------------------------------------------------------------

void tst_TesterLooks::aThemeThatThereIsNotIsNotTaken()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("tester.ini"));
    TesterSettings settings(path);
    QCOMPARE(settings.theme(), QStringLiteral("light"));
    const QSignalSpy changes(&settings, &TesterSettings::themeChanged);

    settings.setTheme(QStringLiteral("pink"));
    QCOMPARE(settings.theme(), QStringLiteral("light"));
    QCOMPARE(changes.count(), 0);

    settings.setTheme(QStringLiteral("dark"));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(TesterSettings(path).theme(), QStringLiteral("dark"));

    QFile file(path);
    // Of another size: within one tick of the clock QSettings tells a changed file by nothing else.
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[General]\ntheme=turquoise\n") > 0);
    file.close();
    QCOMPARE(TesterSettings(path).theme(), QStringLiteral("light"));
}

void tst_TesterLooks::theThemeIsChosenInTheSettings()
{
    setTheme(QStringLiteral("light"));
    QVERIFY(tap("tile_108"));
    QVERIFY(driver().waitForRest());
    const auto pixel = [this] { return window()->grabWindow().pixelColor(4, 470); };
    QCOMPARE(pixel(), colorOf(QStringLiteral("TesterStyle.page")));
    const QColor light = pixel();

    QVERIFY(tap("themeChoice"));
    driver().press(Qt::Key_Down);
    driver().press(Qt::Key_Return);

    QTRY_COMPARE(tester().settings().theme(), QStringLiteral("dark"));
    QTRY_COMPARE(pixel(), colorOf(QStringLiteral("TesterStyle.page")));
    QVERIFY(luminance(pixel()) < luminance(light) / 10);
    QCOMPARE(TesterSettings(TesterSettings::defaultPath()).theme(), QStringLiteral("dark"));
}

// --- What is shown ---------------------------------------------------------------------------------------------------

void tst_TesterLooks::checkColour(
    const QQuickItem *item, const QColor &color, const QRectF &place, double least, const QImage &picture)
{
    const QColor background = mainColor(picture.copy(place.toAlignedRect()));
    const double found = contrast(color, background);
    ++mSeen;
    double &smallest = least < textContrast ? mLeastOfMarks : mLeastOfText;
    smallest = std::min(smallest, found);
    if (found < least) {
        mFaults.append(
            QStringLiteral("%1: %2 %3 on %4: %5")
                .arg(QLatin1String(mPage), item->property("text").toString(), color.name(), background.name())
                .arg(found));
    }
}

/// Texts and icons below it that can be seen as a whole within the room.
void tst_TesterLooks::checkItem(const QQuickItem *item, const QRectF &room, const QImage &picture)
{
    if (!item->isVisible() || item->opacity() < 1)
        return;
    const QRectF place = item->mapRectToScene({0, 0, item->width(), item->height()});
    const QRectF seen = item->clip() ? room.intersected(place) : room;
    const bool isText = item->inherits("QQuickText") || item->inherits("QQuickTextInput");
    const bool isIcon = item->inherits("QQuickImage") && !item->property("iconName").toString().isEmpty();
    const bool isThere = !place.isEmpty() && seen.contains(place);
    const QColor color = item->property("color").value<QColor>();
    constexpr double around = 4; // pixels; a solid icon has more of its own colour than of its ground
    if (isThere && isIcon)
        checkColour(item, color, place.adjusted(-around, -around, around, around), markContrast, picture);
    else if (isThere && isText && !item->property("text").toString().isEmpty())
        checkColour(item, color, place, textContrast, picture);
    const QList<QQuickItem *> children = item->childItems();
    for (const QQuickItem *const child : children)
        checkItem(child, seen, picture);
}

/// What lies on top: the page with the shell around it, or what covers it.
void tst_TesterLooks::checkPage(const char *name)
{
    constexpr int fade = 400; // milliseconds
    mPage = name;
    QTest::qWait(fade);
    const QImage picture = window()->grabWindow();
    const QQuickItem *top = window()->contentItem();
    const QList<QQuickItem *> layers =
        evaluate(QStringLiteral("window.Overlay.overlay")).value<QQuickItem *>()->childItems();
    for (const QQuickItem *const layer : layers) {
        if (layer->isVisible() && layer->inherits("QQuickPopupItem"))
            top = layer;
    }
    checkItem(top, QRectF(QPointF(), picture.size()), picture);
}

void tst_TesterLooks::checkMessages()
{
    evaluate(QStringLiteral("snackBar.showError('failed')"));
    checkPage("error");
    evaluate(QStringLiteral("snackBar.showSuccess('passed')"));
    checkPage("success");
    QVERIFY(tap("snackBar"));
    evaluate(QStringLiteral("notKept.text = 'not kept'"));
    checkPage("notice");
    evaluate(QStringLiteral("notKept.text = ''"));
    evaluate(QStringLiteral("notificationArea.pull()"));
    checkPage("notifications");
    driver().press(Qt::Key_Escape);
    evaluate(QStringLiteral("messageBoxManager.showInfo('Title', 'Text')"));
    checkPage("message");
    QVERIFY(tap("messageConfirm"));
    QVERIFY(ShellDriver::waitFor([this] { return !find("messageConfirm"); }));
}

void tst_TesterLooks::checkTiles()
{
    checkPage("home");
    for (const char *const tile : {"tile_100", "tile_101", "tile_106", "tile_107"}) {
        QVERIFY(tap(tile) && driver().waitForRest());
        checkPage(tile);
        QVERIFY(goHome());
    }
    QVERIFY(tap("tile_108") && driver().waitForRest());
    checkPage("settings");
    QVERIFY(tap("themeChoice"));
    checkPage("themes");
    driver().press(Qt::Key_Escape);
    QVERIFY(goHome());
}

void tst_TesterLooks::checkJob()
{
    QVERIFY(makeJob(QStringLiteral("Looks"), QStringLiteral("A1"), QStringLiteral("A3")));
    QVERIFY(inspect("clean"));
    checkPage("passed");
    QCOMPARE(find("verdictIcon")->property("iconName").toString(), QStringLiteral("check-lg"));
    QVERIFY(tap("nextPort"));
    QVERIFY(inspect("pitted"));
    checkPage("failed");
    QCOMPARE(find("verdictIcon")->property("iconName").toString(), QStringLiteral("x-lg"));
    QVERIFY(tap("details") && driver().waitForRest());
    checkPage("details");
    QVERIFY(tap("actionBack") && tap("accept"));
    checkPage("note");
    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return !find("noteAccept"); }));
    QVERIFY(tap("actionBack") && driver().waitForRest());
    checkPage("live");
    QVERIFY(tap("actionBack") && driver().waitForRest());
    checkPage("panel");
    QVERIFY(tap("actionStatistics") && driver().waitForRest());
    checkPage("statistics");
    QVERIFY(tap("actionBack") && tap("actionReport") && waitFor("reportHeadline") && driver().waitForRest());
    checkPage("report");
}

void tst_TesterLooks::allThatIsShownStandsOut_data()
{
    QTest::addColumn<QString>("theme");
    const QStringList themes = TesterSettings::themes();
    for (const QString &theme : themes)
        QTest::newRow(qPrintable(theme)) << theme;
}

void tst_TesterLooks::allThatIsShownStandsOut()
{
    QFETCH(const QString, theme);
    setTheme(theme);
    mFaults.clear();
    mSeen = 0;

    checkMessages();
    checkTiles();
    checkJob();

    QVERIFY2(mFaults.isEmpty(), qPrintable(mFaults.join(QLatin1Char('\n'))));
    QVERIFY2(mSeen > 200, qPrintable(QString::number(mSeen)));
}

void tst_TesterLooks::pagesOfTheLibraryStayLight()
{
    setTheme(QStringLiteral("dark"));
    QVERIFY(openInspection());

    QCOMPARE(inspectionPage()->property("color").value<QColor>(), QColor(Qt::white));
    QCOMPARE(window()->grabWindow().pixelColor(790, 470), QColor(Qt::white));
    mFaults.clear();
    checkPage("inspection"); // its words are still black
    QVERIFY2(mFaults.isEmpty(), qPrintable(mFaults.join(QLatin1Char('\n'))));
}

void tst_TesterLooks::whatFallsShortIsFound()
{
    setTheme(QStringLiteral("dark"));
    QQuickItem *const clock = find("clock");
    const QVariant color = clock->property("color");
    mFaults.clear();
    const double least = mLeastOfText;

    clock->setProperty("color", QColor(Qt::darkGray).darker());
    checkPage("planted");

    QCOMPARE(mFaults.size(), 1);
    QVERIFY(mLeastOfText < textContrast);
    mLeastOfText = least;
    clock->setProperty("color", color);
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterLooks>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_looks.moc"
