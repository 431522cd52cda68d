// SPDX-License-Identifier: Apache-2.0
// Whether all that is to be read fits, on both screens, in German, and in a language whose words are 40 per cent longer
// than those of the sources; and whether all can be read and hit. What people have typed may be elided, but pushes
// nothing out.
#include "TourTest.h"

#include <QQmlEngine>
#include <QTranslator>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {
constexpr double lengthening = 0.4;
constexpr int leastText = 18; // pixels
constexpr int leastTarget = 66;
constexpr int tolerated = 1; // where sizes are rounded
constexpr int overlap = 3;
constexpr double far = 1e6; // where nothing is

/// No language, but as long as one may be: each word of the sources gets more letters, places for values do not.
class LongerTexts : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        const QString text = QString::fromUtf8(source);
        QString longer;
        int letters = 0; // of the word so far
        for (int i = 0; i <= text.size(); ++i) {
            const bool isLetter = i < text.size() && text[i].isLetter();
            if (!isLetter) {
                longer += QString(static_cast<int>(std::ceil(lengthening * letters)), QLatin1Char('n'));
                letters = 0;
            }
            if (i < text.size())
                longer += text[i];
            letters += isLetter ? 1 : 0;
        }
        return longer;
    }
};

bool isWithin(const QQuickItem *item, const QString &name)
{
    for (; item; item = item->parentItem()) {
        if (item->objectName() == name)
            return true;
    }
    return false;
}

/// Whether it is on a page of the library.
bool isOfLibrary(const QQuickItem *item)
{
    for (; item; item = item->parentItem()) {
        if (QByteArray(item->metaObject()->className()).startsWith("FiberInspection"))
            return true;
    }
    return false;
}

bool isOf(const QQuickItem *item, const char *type)
{
    for (; item; item = item->parentItem()) {
        if (item->inherits(type))
            return true;
    }
    return false;
}

/// Where letters are, in the scene.
QRectF paintedPlace(const QQuickItem *text)
{
    const auto number = [text](const char *name) { return text->property(name).toDouble(); };
    const QRectF room(number("leftPadding"), number("topPadding"),
        text->width() - number("leftPadding") - number("rightPadding"),
        text->height() - number("topPadding") - number("bottomPadding"));
    QRectF place(room.topLeft(), QSizeF(number("contentWidth"), number("contentHeight")));
    const int horizontal = text->property("effectiveHorizontalAlignment").toInt();
    const int vertical = text->property("verticalAlignment").toInt();
    if (horizontal == Qt::AlignHCenter)
        place.moveLeft(room.center().x() - place.width() / 2);
    if (horizontal == Qt::AlignRight)
        place.moveRight(room.right());
    if (vertical == Qt::AlignVCenter)
        place.moveTop(room.center().y() - place.height() / 2);
    if (vertical == Qt::AlignBottom)
        place.moveBottom(room.bottom());
    return text->mapRectToScene(place);
}

QRectF placeOf(const QQuickItem *item)
{
    return item->mapRectToScene({0, 0, item->width(), item->height()});
}

QString quoted(const QQuickItem *text)
{
    return QLatin1Char('"') + text->property("text").toString().left(60) + QLatin1Char('"');
}
} // namespace

class tst_TesterLayout : public TourTest
{
    Q_OBJECT

public:
    using TourTest::TourTest;

private Q_SLOTS:
    void initTestCase();
    void aTextThatIsCutIsFound();
    void textsThatOverlapAreFound();
    void aMessageCoversNoButtonBesideThePicture();
    void everythingFits_data();
    void everythingFits();
    void cleanupTestCase();

private:
    void resize(const QSize &size) const;
    void look(const QQuickItem *item);
    void lookAtText(const QQuickItem *text);
    void lookAtTarget(const QQuickItem *target);
    void lookForOverlaps();
    bool isTypedByUser(const QQuickItem *text) const;
    QRectF roomOf(const QQuickItem *text) const;
    static QRectF seenPlace(const QQuickItem *text);
    void tell(const QQuickItem *item, const QString &what);
    QStringList examine(const QString &place);

    LongerTexts mLongerTexts;
    Words mWords;
    QString mPlace;
    QStringList mFaults;
    QVector<const QQuickItem *> mTexts;
};

void tst_TesterLayout::initTestCase()
{
    TourTest::initTestCase();
    mWords.job = QStringLiteral("Kabelverzweigerschrankbeschriftung ").repeated(4).trimmed();
    mWords.customer = QStringLiteral("Wohnungsbaugenossenschaft Nord ").repeated(4).trimmed();
    mWords.note = QStringLiteral("Steckverbinderverschmutzung bekannt ").repeated(4).trimmed();
    QVERIFY(QCoreApplication::installTranslator(&mLongerTexts));
    qmlEngine(window())->retranslate();
}

void tst_TesterLayout::cleanupTestCase()
{
    QCoreApplication::removeTranslator(&mLongerTexts);
}

void tst_TesterLayout::resize(const QSize &size) const
{
    const int panelWidth = window()->width() - window()->property("screenWidth").toInt();
    window()->setProperty("screenWidth", size.width());
    window()->setProperty("screenHeight", size.height());
    window()->resize(size.width() + panelWidth, size.height());
    QVERIFY(ShellDriver::waitFor([&] { return window()->size() == QSize(size.width() + panelWidth, size.height()); }));
    driver().waitForFrame();
}

void tst_TesterLayout::tell(const QQuickItem *item, const QString &what)
{
    const QQuickItem *named = item;
    while (named && named->objectName().isEmpty())
        named = named->parentItem();
    mFaults.append(QStringLiteral("%1: %2, in %3").arg(mPlace, what, named ? named->objectName() : QString()));
}

/// Those may be elided.
bool tst_TesterLayout::isTypedByUser(const QQuickItem *text) const
{
    const QString shown = text->property("text").toString();
    const QStringList typed{mWords.job, mWords.customer, mWords.note};
    return std::any_of(typed.begin(), typed.end(),
        [&shown](const QString &words) { return shown.contains(words.left(words.indexOf(QLatin1Char(' ')))); });
}

/// Where it has to stay: on the screen, in its button, in what cuts it. A view may be scrolled up and down.
QRectF tst_TesterLayout::roomOf(const QQuickItem *text) const
{
    const QRectF screen(0, 0, window()->property("screenWidth").toDouble(), window()->height());
    QRectF room(-far, -far, 2 * far, 2 * far);
    for (const QQuickItem *parent = text->parentItem(); parent; parent = parent->parentItem()) {
        const QRectF place = parent->mapRectToScene({0, 0, parent->width(), parent->height()});
        if (parent->inherits("QQuickFlickable"))
            return room & QRectF(place.left(), -far, place.width(), 2 * far);
        const bool isFrame = parent->inherits("QQuickAbstractButton") || parent->inherits("QQuickRectangle");
        if (parent->clip() || (isFrame && !place.isEmpty()))
            room &= place;
    }
    return room & screen;
}

/// What can be seen of it as the views stand.
QRectF tst_TesterLayout::seenPlace(const QQuickItem *text)
{
    QRectF seen = paintedPlace(text);
    for (const QQuickItem *parent = text->parentItem(); parent; parent = parent->parentItem()) {
        if (parent->clip())
            seen &= parent->mapRectToScene({0, 0, parent->width(), parent->height()});
    }
    return seen;
}

void tst_TesterLayout::lookAtText(const QQuickItem *text)
{
    bool isNumber = false;
    text->property("text").toString().toInt(&isNumber);
    if (isNumber
        && (isWithin(text, QStringLiteral("markedPicture")) || isWithin(text, QStringLiteral("detailsPicture"))))
        return; // of a defect, in a picture that is cropped
    const QRectF place = paintedPlace(text);
    const QRectF room = roomOf(text).adjusted(-tolerated, -tolerated, tolerated, tolerated);
    if (text->property("truncated").toBool() && !isTypedByUser(text))
        tell(text, quoted(text) + QStringLiteral(" is cut"));
    else if (place.width() > text->width() + tolerated || place.height() > text->height() + tolerated)
        tell(text, quoted(text) + QStringLiteral(" is larger than its item"));
    else if (!room.contains(place))
        tell(text, quoted(text) + QStringLiteral(" leaves its room"));
    const int size = text->property("font").value<QFont>().pixelSize();
    if (size < leastText && !isOfLibrary(text))
        tell(text, quoted(text) + QStringLiteral(" has letters of %1").arg(size));
    mTexts.append(text);
}

void tst_TesterLayout::lookAtTarget(const QQuickItem *target)
{
    if (!isOfLibrary(target) && (target->width() < leastTarget || target->height() < leastTarget))
        tell(target, QStringLiteral("a target of %1 x %2").arg(target->width()).arg(target->height()));
}

void tst_TesterLayout::look(const QQuickItem *item)
{
    if (!item->isVisible() || item->opacity() <= 0)
        return;
    const double left = item->mapToScene({0, 0}).x();
    if (item->width() > 0 && left >= window()->property("screenWidth").toDouble())
        return; // the simulated scope is beside the screen
    if (item->inherits("QQuickText") && !item->property("text").toString().isEmpty())
        lookAtText(item);
    else if (item->inherits("QQuickAbstractButton") || item->inherits("QQuickTextField")
        || item->inherits("QQuickComboBox"))
        lookAtTarget(item);
    const QList<QQuickItem *> children = item->childItems();
    for (const QQuickItem *const child : children)
        look(child);
}

void tst_TesterLayout::lookForOverlaps()
{
    const auto layer = [](const QQuickItem *item) { // what lies above what
        return isOf(item, "QQuickPopupItem") ? 2 : isWithin(item, QStringLiteral("snackBar")) ? 1 : 0;
    };
    for (int i = 0; i < mTexts.size(); ++i) {
        for (int j = i + 1; j < mTexts.size(); ++j) {
            const QRectF both = seenPlace(mTexts[i]) & seenPlace(mTexts[j]);
            if (both.width() > overlap && both.height() > overlap && layer(mTexts[i]) == layer(mTexts[j]))
                tell(mTexts[i], quoted(mTexts[i]) + QStringLiteral(" overlaps ") + quoted(mTexts[j]));
        }
    }
}

QStringList tst_TesterLayout::examine(const QString &place)
{
    mPlace = place;
    mFaults.clear();
    mTexts.clear();
    look(window()->contentItem());
    lookForOverlaps();
    return mFaults;
}

void tst_TesterLayout::aTextThatIsCutIsFound()
{
    QCOMPARE(examine(QStringLiteral("home")), QStringList());
    QQuickItem *const tile = find("tile_100");
    const double width = tile->width();
    tile->setWidth(leastTarget);
    driver().waitForFrame();

    QVERIFY(!examine(QStringLiteral("home")).isEmpty());
    tile->setWidth(width);
}

void tst_TesterLayout::textsThatOverlapAreFound()
{
    QQuickItem *const tile = find("tile_100");
    const double x = tile->x();
    tile->setX(find("tile_108")->x());
    driver().waitForFrame();

    const QStringList faults = examine(QStringLiteral("home"));

    tile->setX(x);
    QVERIFY(!faults.filter(QStringLiteral(" overlaps ")).isEmpty());
}

/// It comes when it comes, also when the finger is on its way to one of them.
void tst_TesterLayout::aMessageCoversNoButtonBesideThePicture()
{
    const auto leavesFree = [this](const std::vector<const char *> &names) {
        evaluate(QStringLiteral("snackBar.showError('No port is open any more')"));
        return waitFor("snackBar") && std::all_of(names.begin(), names.end(), [this](const char *name) {
            const QQuickItem *const button = find(name);
            return button && !placeOf(button).intersects(placeOf(find("snackBar")));
        });
    };
    QVERIFY(makeJob(QStringLiteral("Panel"), QStringLiteral("A01"), QStringLiteral("A02")) && inspect("pitted"));
    QVERIFY(leavesFree({"nextPort", "repeat", "accept", "details"}));
    QVERIFY(tap("actionBack") && waitFor("analyse") && driver().waitForRest());

    QVERIFY(leavesFree({"analyse", "auto", "zoom", "freeze"}));
    QVERIFY(tap("snackBar"));
}

void tst_TesterLayout::everythingFits_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isLonger");
    QTest::newRow("800x480, longer") << QSize(800, 480) << true;
    QTest::newRow("1024x600, longer") << QSize(1024, 600) << true;
    QTest::newRow("800x480, German") << QSize(800, 480) << false; // some of its words are longer still
    QTest::newRow("1024x600, German") << QSize(1024, 600) << false;
}

void tst_TesterLayout::everythingFits()
{
    QFETCH(const QSize, size);
    QFETCH(const bool, isLonger);
    resize(size);
    if (!isLonger) {
        QCoreApplication::removeTranslator(&mLongerTexts);
        tester().language().setCurrent(QStringLiteral("de"));
    }
    QStringList faults;

    const bool isThrough = goThrough(mWords, [&](const QString &place) {
        if (qEnvironmentVariableIsSet("VANTOR_LOOKS")) // for who writes a page
            window()->grabWindow().save(QStringLiteral("%1/%2-%3.png")
                                            .arg(qEnvironmentVariable("VANTOR_LOOKS"),
                                                QString(place).replace(QLatin1Char(' '), QLatin1Char('_')))
                                            .arg(size.width()));
        faults += examine(place);
    });

    for (const QString &fault : qAsConst(faults))
        std::fprintf(stderr, "%s\n", qPrintable(fault)); // all of them; a message of Qt Test has an end
    QCOMPARE(faults.size(), 0);
    QVERIFY2(isThrough, qPrintable(wayBarred()));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterLayout>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_layout.moc"
