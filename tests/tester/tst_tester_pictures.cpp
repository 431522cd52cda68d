// SPDX-License-Identifier: Apache-2.0
// What the pages look like: new pictures of them against those in docs/images/. One look, which VANTOR_LOOK names, a
// run.
#include "Internal/ChildProcess.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cstdlib>

namespace {
constexpr int scaling = 4; // so that neither noise nor the edge of a letter counts
constexpr int visible = 24; // levels of a colour
constexpr double tolerated = 0.005; // share of the picture
constexpr double toleratedLive = 0.012; // where circles follow what the live analysis finds in noise
constexpr double toleratedPort = 0.04; // where defects are numbered and enlarged as they were found in noise

QDir storedPictures()
{
    return QDir(QStringLiteral(VANTOR_PICTURES));
}

QString look()
{
    return qEnvironmentVariable("VANTOR_LOOK");
}

QStringList pictureNames(const QDir &folder, const QString &ending)
{
    return folder.entryList({QStringLiteral("tester-*%1.png").arg(ending)}, QDir::Files, QDir::Name);
}

bool isVisiblyOther(QRgb first, QRgb second)
{
    return std::max({std::abs(qRed(first) - qRed(second)), std::abs(qGreen(first) - qGreen(second)),
               std::abs(qBlue(first) - qBlue(second))})
        > visible;
}

double toleratedIn(const QString &name)
{
    if (name.startsWith(QLatin1String("tester-port-")))
        return toleratedPort;
    return name.contains(QLatin1String("focused")) ? toleratedLive : tolerated;
}

/// Share of the picture that looks different; 1 for another size.
double difference(const QImage &first, const QImage &second)
{
    if (first.isNull() || first.size() != second.size())
        return 1;
    const QSize size = first.size() / scaling;
    const QImage a = first.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QImage b = second.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    int different = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            different += isVisiblyOther(a.pixel(x, y), b.pixel(x, y)) ? 1 : 0;
    }
    return static_cast<double>(different) / (size.width() * size.height());
}
} // namespace

class tst_TesterPictures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyPictureIsStored();
    void noPictureIsOfAnotherLook();
    void everyPageLooksAsStored_data();
    void everyPageLooksAsStored();
    void anotherTextWouldBeSeen();

private:
    QTemporaryDir mFolder;
};

void tst_TesterPictures::initTestCase()
{
    constexpr int limit = 240000; // milliseconds
    ChildProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QStringLiteral(VANTOR_SCREENSHOTS), {mFolder.path(), look()});
    QVERIFY(program.waitForFinished(limit));
    QCOMPARE(program.exitCode(), 0);
}

void tst_TesterPictures::everyPictureIsStored()
{
    const QStringList names = pictureNames(QDir(mFolder.path()), look());
    QVERIFY(!names.isEmpty());
    QCOMPARE(names, pictureNames(storedPictures(), look()));
}

void tst_TesterPictures::noPictureIsOfAnotherLook()
{
    int known = 0;
    const QStringList looks = QStringLiteral(VANTOR_LOOKS).split(QLatin1Char(' '));
    for (const QString &one : looks)
        known += pictureNames(storedPictures(), one).size();

    QVERIFY(looks.contains(look()));
    QCOMPARE(pictureNames(storedPictures(), QString()).size(), known);
}

void tst_TesterPictures::everyPageLooksAsStored_data()
{
    QTest::addColumn<QString>("name");

    const QStringList names = pictureNames(storedPictures(), look());
    for (const QString &name : names)
        QTest::newRow(qPrintable(name)) << name;
}

void tst_TesterPictures::everyPageLooksAsStored()
{
    QFETCH(const QString, name);
    const QImage fresh(mFolder.filePath(name));
    QVERIFY(!fresh.isNull());

    const double share = difference(fresh, QImage(storedPictures().filePath(name)));

    QVERIFY2(share <= toleratedIn(name),
        qPrintable(
            QStringLiteral("%1 % look different; ./vantor screenshots makes the pictures anew").arg(100 * share)));
}

/// The tolerance is not too wide: a page in the other language, the other verdict, a hidden message are seen.
void tst_TesterPictures::anotherTextWouldBeSeen()
{
    const auto picture = [](const char *name) { return QImage(storedPictures().filePath(QString::fromUtf8(name))); };

    QVERIFY(difference(picture("tester-home-800x480-en.png"), picture("tester-home-800x480-de.png")) > tolerated);
    QVERIFY(difference(picture("tester-passed-800x480-en.png"), picture("tester-failed-800x480-en.png")) > tolerated);
    QVERIFY(
        difference(picture("tester-message-1024x600-en.png"), picture("tester-unfocused-1024x600-en.png")) > tolerated);
}

QTEST_GUILESS_MAIN(tst_TesterPictures)

#include "tst_tester_pictures.moc"
