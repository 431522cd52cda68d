// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Inspection.h"
#include "Reports/PdfWriting_p.h"
#include "Reports/Sections_p.h"
#include "Reports/StateMark_p.h"

#include <algorithm>

namespace Reports::Sections {

using namespace FiberInspection;
using namespace Records;

namespace {
constexpr double pictureSize = 58; // millimetres
constexpr int mostPixels = 460; // of a side of a picture; 200 dots per inch
constexpr double placeholderHeight = 18; // of what never had a picture
constexpr double shownAround = 1.5; // of the diameter of the outermost zone
constexpr double blockGap = 6;
constexpr double numberSize = 3.2; // of the ground of a number
constexpr QRgb zoneColor = 0xff00b7ff;
constexpr QRgb defectColor = 0xffffd400;
constexpr int mostRulesShown = 10;
constexpr int mostDefectsShown = 5;
constexpr double textX = Sheet::left + pictureSize + 5;
constexpr double textWidth = Sheet::right - textX;

bool isShown(ReportState state)
{
    return state == ReportState::Failed || state == ReportState::Accepted || state == ReportState::NoVerdict
        || state == ReportState::Doubtful;
}

/// A picture that fits its place, and how it came there.
struct Shown
{
    QImage image;
    bool isAnnotated = false;
    double micrometresAcross = 0; ///< of the image; 0: not known
    const char *caption = nullptr; ///< what is to be said of it
};

QImage fitted(const QImage &image)
{
    const QImage plain = image.convertToFormat(QImage::Format_RGB32); // anything else would not become a JPEG
    return plain.width() <= mostPixels && plain.height() <= mostPixels
        ? plain
        : plain.scaled(mostPixels, mostPixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

/// The graded zones and a little around them; the fibre is in the middle.
QImage middleOf(const QImage &image, const StoredInspection &inspection)
{
    int diameter = 0; // micrometres
    for (const StoredZone &zone : inspection.zones)
        diameter = std::max(diameter, zone.outerDiameter);
    const double pixels =
        inspection.micronsPerPixel > 0 ? shownAround * diameter / double(inspection.micronsPerPixel) : 0;
    if (pixels < 1 || pixels >= std::min(image.width(), image.height()))
        return image;
    QRect middle(0, 0, static_cast<int>(pixels), static_cast<int>(pixels));
    middle.moveCenter(image.rect().center());
    return image.copy(middle);
}

class Pictures
{
public:
    Pictures(const JobReport &report, QVector<PictureFault> *lost)
        : mReport(report)
        , mLost(lost)
    {
    }

    /// The annotated picture; without one the photograph.
    Shown of(const StoredInspection &inspection)
    {
        Shown shown;
        const QImage annotated = read(inspection, inspection.annotatedPicture);
        if (!annotated.isNull()) {
            const QImage middle = middleOf(annotated, inspection);
            shown.isAnnotated = true;
            shown.micrometresAcross = double(inspection.micronsPerPixel) * middle.width();
            shown.image = fitted(middle);
            return shown;
        }
        const QImage photograph = read(inspection, inspection.picture);
        const bool isCropped = !inspection.crop.isEmpty() && photograph.rect().contains(inspection.crop);
        const bool isScaled = inspection.origin.scale != 1.0F; // the crop counts in other pixels then
        shown.image = photograph.isNull()
            ? QImage()
            : fitted(isCropped && !isScaled ? photograph.copy(inspection.crop) : photograph);
        if (shown.image.isNull() && inspection.picture.isEmpty())
            shown.caption = QT_TRANSLATE_NOOP("Report", "There is no picture.");
        else if (shown.image.isNull() && !isLost(inspection))
            shown.caption = QT_TRANSLATE_NOOP("Report", "The picture cannot be shown.");
        else if (shown.image.isNull())
            shown.caption = QT_TRANSLATE_NOOP("Report", "The pictures are missing or damaged.");
        else if (!inspection.annotatedPicture.isEmpty() && !isLost(inspection))
            shown.caption = QT_TRANSLATE_NOOP("Report", "The photograph; the annotated picture cannot be shown.");
        else if (!inspection.annotatedPicture.isEmpty())
            shown.caption = QT_TRANSLATE_NOOP("Report", "The photograph; the annotated picture is missing or damaged.");
        return shown;
    }

private:
    bool isLost(const StoredInspection &inspection) const
    {
        const auto isOfIt = [&inspection](const PictureFault &fault) { return fault.inspection == inspection.id; };
        return std::any_of(mReport.pictureFaults.cbegin(), mReport.pictureFaults.cend(), isOfIt)
            || std::any_of(mLost->cbegin(), mLost->cend(), isOfIt);
    }

    QImage read(const StoredInspection &inspection, const QByteArray &hash)
    {
        if (hash.isEmpty())
            return {};
        const Answer<QByteArray> bytes = pictureOf(mReport, hash);
        const LoadedImage loaded = bytes.ok() ? decodeImage(bytes.value) : LoadedImage();
        const bool isTooLarge = loaded.reason == Inspection::Reason::ImageTooLarge; // which is whole, for all we know
        const bool isPhotograph = inspection.verdict != Verdict::None || hash == inspection.annotatedPicture;
        // What could not be inspected for being no picture is not lost.
        if (!bytes.ok() || (loaded.image.isNull() && isPhotograph && !isTooLarge))
            mLost->append({inspection.id, hash, bytes.ok() ? Fault::PictureDamaged : bytes.problem.fault});
        return loaded.image;
    }

    const JobReport &mReport;
    QVector<PictureFault> *mLost;
};

/// Those that fail, the largest first.
QVector<GradedDefect> failingDefects(const StoredInspection &inspection)
{
    QVector<GradedDefect> defects;
    for (const StoredDefect &defect : inspection.defects) {
        if (defect.graded.causesFailure)
            defects.append(defect.graded);
    }
    std::stable_sort(defects.begin(), defects.end(),
        [](const GradedDefect &a, const GradedDefect &b) { return a.sizeMicrons > b.sizeMicrons; });
    return defects;
}

double largestOf(const StoredInspection &inspection, Zone::Id zone, const Rule &rule)
{
    double largest = 0;
    for (const StoredDefect &defect : inspection.defects) {
        if (defect.graded.zone == zone && rule.isAbout(defect.graded.kind, defect.graded.sizeMicrons))
            largest = std::max(largest, defect.graded.sizeMicrons);
    }
    return largest;
}

/// What failed, and by how much.
QString sentenceOf(const ReportText &words, const StoredInspection &inspection, Zone::Id zone, const StoredRule &rule)
{
    const QStringList what{
        words.nameOf(zone), words.kindsOf(rule.rule.defectType), words.criterionOf(rule.rule), words.count(rule.found)};
    const QString largest = words.micrometres(largestOf(inspection, zone, rule.rule));
    if (rule.rule.maxAllowedAmount == 0)
        return words(QT_TRANSLATE_NOOP("Report", "%1: %2 %3: %4 found, none allowed; the largest %5."),
            what + QStringList{largest});
    return words(QT_TRANSLATE_NOOP("Report", "%1: %2 %3: %4 found, %5 allowed; the largest %6."),
        what + QStringList{words.count(rule.rule.maxAllowedAmount), largest});
}

class Block
{
public:
    Block(Sheet *sheet, const JobReport &report, const ReportPoint &point)
        : mSheet(sheet)
        , mWords(sheet->words())
        , mPoint(point)
        , mLast(report.lastOf(point))
        , mIsContradiction(mLast != nullptr && report.contradictions.contains(mLast->id))
    {
    }

    void draw(Pictures *pictures)
    {
        mY = 0;
        mIsMeasuring = true;
        drawTexts();
        const double height = std::max(mY, pictureHeight());
        const bool isFirst = mSheet->need(height);
        mTop = mSheet->y;
        mIsMeasuring = false;
        mY = mTop;
        if (!isFirst)
            mSheet->line({Sheet::left, mTop - 2}, {Sheet::right, mTop - 2}, Ink::rule, 0.15);
        drawTexts();
        if (mLast != nullptr && mSheet->draws())
            drawPicture(pictures->of(*mLast));
        mSheet->y = mTop + height + blockGap;
    }

private:
    bool hasPicture() const { return !mLast->picture.isEmpty() || !mLast->annotatedPicture.isEmpty(); }

    /// Whether it can be read or not: the pages are counted before that is tried.
    double pictureHeight() const
    {
        if (mLast == nullptr)
            return 0;
        return hasPicture() ? pictureSize + 6 : placeholderHeight;
    }

    double x() const { return mLast != nullptr ? textX : Sheet::left; }
    double width() const { return mLast != nullptr ? textWidth : Sheet::width; }

    void put(const QString &text, const TextStyle &style, double gap = 0.6)
    {
        if (text.isEmpty())
            return;
        mY +=
            gap + (mIsMeasuring ? mSheet->heightOf(text, width(), style) : mSheet->text(x(), mY, width(), text, style));
    }

    void drawTexts()
    {
        put(ReportText::shown(mPoint.point.name), {12, true, Ink::text, Qt::AlignLeft, 3});
        if (!mIsMeasuring)
            StateMark::drawWithWord(mSheet, x(), mY, width(), mPoint.state, 10);
        mY += 6;
        put(originText(), {8, false, Ink::faint, Qt::AlignLeft, 2}, 1.4);
        put(reasonText(), {9, false, Ink::text, Qt::AlignLeft, 4}, 1);
        if (mLast == nullptr || mLast->verdict == Verdict::None)
            return;
        drawSentences();
        drawRules();
        put(defectsText(), {8, false, Ink::faint, Qt::AlignLeft, 4}, 1);
    }

    QString originText() const
    {
        if (mLast == nullptr)
            return {};
        const QString side = mPoint.point.side == Side::A ? mWords(QT_TRANSLATE_NOOP("Report", "Side A"))
                                                          : mWords(QT_TRANSLATE_NOOP("Report", "Side B"));
        return side + QStringLiteral(" \u00B7 ")
            + mWords(QT_TRANSLATE_NOOP("Report", "Inspection %1, %2"),
                {QString::number(mLast->id), mWords.time(mLast->made)});
    }

    /// Why there is no verdict, why it is in doubt, or what the operator made of it.
    QString reasonText() const
    {
        if (mLast == nullptr)
            return mWords(QT_TRANSLATE_NOOP("Report", "The record of inspection %1 cannot be read."),
                {QString::number(mPoint.point.lastInspection)});
        if (mIsContradiction)
            return mWords(QT_TRANSLATE_NOOP(
                "Report", "The record contradicts itself or its job. Please inspect this point again."));
        QString text;
        if (mLast->verdict == Verdict::None)
            text = mWords.reasonOf(*mLast) + QLatin1Char(' ') + inParentheses(ReportText::shown(mLast->detail));
        const QString note = ReportText::shown(mLast->note);
        if (mLast->decision == Decision::Accepted)
            text += mWords(QT_TRANSLATE_NOOP("Report", "Accepted by the operator.")) + QLatin1Char(' ');
        return (note.isEmpty() ? text : text + QStringLiteral("\u201C") + note + QStringLiteral("\u201D")).trimmed();
    }

    static QString inParentheses(const QString &text)
    {
        return text.isEmpty() ? text : QLatin1Char('(') + text + QStringLiteral(") ");
    }

    void drawSentences()
    {
        int shown = 0;
        for (const StoredZone &zone : mLast->zones) {
            for (const StoredRule &rule : zone.rules) {
                if (rule.violated && shown++ < mostDefectsShown)
                    put(sentenceOf(mWords, *mLast, zone.zone, rule), {9, true, Ink::bad, Qt::AlignLeft, 3}, 0.8);
            }
        }
        mY += 1.5;
    }

    void drawRules()
    {
        int all = 0;
        drawRuleTitles();
        for (const StoredZone &zone : mLast->zones) {
            for (const StoredRule &rule : zone.rules) {
                if (all++ < mostRulesShown)
                    drawRule(zone, rule);
            }
        }
        if (all > mostRulesShown)
            put(mWords(QT_TRANSLATE_NOOP("Report", "and %1 more"), {mWords.count(all - mostRulesShown)}),
                {8, false, Ink::faint});
    }

    void row(const QStringList &cells, const TextStyle &style)
    {
        static constexpr double share[] = {0.19, 0.2, 0.21, 0.17, 0.23};
        double cellX = x();
        for (int i = 0; i < cells.size() && !mIsMeasuring; ++i) {
            mSheet->text(cellX, mY, share[i] * width() - 1, cells[i], style);
            cellX += share[i] * width();
        }
        mY += 4.4;
    }

    void drawRuleTitles()
    {
        row({mWords(QT_TRANSLATE_NOOP("Report", "Zone")), mWords(QT_TRANSLATE_NOOP("Report", "Kind")),
                mWords(QT_TRANSLATE_NOOP("Report", "Size")), mWords(QT_TRANSLATE_NOOP("Report", "Allowed")),
                mWords(QT_TRANSLATE_NOOP("Report", "Found"))},
            {7.5, true, Ink::faint});
    }

    void drawRule(const StoredZone &zone, const StoredRule &stored)
    {
        const Rule &rule = stored.rule;
        const QString allowed = rule.maxAllowedAmount == Rule::unlimited ? mWords(QT_TRANSLATE_NOOP("Report", "any"))
                                                                         : mWords.count(rule.maxAllowedAmount);
        const double middle = mY + 1.8;
        row({mWords.nameOf(zone.zone), mWords.kindsOf(rule.defectType), mWords.criterionOf(rule), allowed,
                mWords.count(stored.found)},
            {8, stored.violated, stored.violated ? Ink::bad : Ink::text});
        if (!mIsMeasuring)
            StateMark::draw(mSheet, {x() + width() - 2.5, middle}, 3.2,
                stored.violated ? ReportState::Failed : ReportState::Passed);
    }

    QString defectsText() const
    {
        const QVector<GradedDefect> defects = failingDefects(*mLast);
        const QVector<GradedDefect> shown = defects.mid(0, mostDefectsShown);
        QStringList texts;
        for (const GradedDefect &defect : shown)
            texts.append(QStringLiteral("%1. ").arg(texts.size() + 1)
                + mWords(QT_TRANSLATE_NOOP("Report", "%1 at (%2; %3)"),
                    {mWords.micrometres(defect.sizeMicrons), mWords.number(defect.centerMicrons.x()),
                        mWords.number(defect.centerMicrons.y())}));
        if (texts.isEmpty())
            return {};
        if (defects.size() > mostDefectsShown)
            texts.append(
                mWords(QT_TRANSLATE_NOOP("Report", "and %1 more"), {mWords.count(defects.size() - mostDefectsShown)}));
        return mWords(QT_TRANSLATE_NOOP("Report",
                          "Beyond what is allowed (place in µm from the centre of the fibre, x right, y down): %1"),
            {texts.join(QStringLiteral(", "))});
    }

    void drawPicture(const Shown &shown)
    {
        const QRectF place(Sheet::left, mTop, pictureSize, hasPicture() ? pictureSize : placeholderHeight);
        if (shown.image.isNull()) {
            mSheet->box(place, Ink::stripe);
            mSheet->frame(place, Ink::rule);
            mSheet->text(place.left() + 4, place.center().y() - 4, place.width() - 8, mWords(shown.caption),
                {9, true, Ink::caution, Qt::AlignHCenter, 3});
            return;
        }
        const QSizeF size = QSizeF(shown.image.size()).scaled(place.size(), Qt::KeepAspectRatio);
        const QRectF area(place.topLeft(), size);
        mSheet->image(area, shown.image);
        if (shown.isAnnotated && shown.micrometresAcross > 0)
            drawZones(area, size.width() / shown.micrometresAcross);
        if (shown.caption != nullptr)
            mSheet->text(area.left(), area.bottom() + 0.8, area.width(), mWords(shown.caption),
                {7, false, Ink::caution, Qt::AlignLeft, 2});
    }

    /// Within the picture, on a ground of its own, or it would not be read on a bright one.
    void drawNumber(const QRectF &area, const QPointF &wanted, int number)
    {
        const double x = qBound(area.left(), wanted.x(), area.right() - numberSize);
        QRectF ground(x, qBound(area.top(), wanted.y(), area.bottom() - numberSize), numberSize, numberSize);
        for (const QRectF &other : qAsConst(mNumbers)) {
            if (other.intersects(ground))
                ground.moveTop(other.bottom() + 0.2);
        }
        mNumbers.append(ground);
        mSheet->box(ground, Ink::text, 0.6);
        mSheet->text(
            x, ground.top() + 0.15, numberSize, QString::number(number), {7, true, defectColor, Qt::AlignHCenter});
    }

    /// @param scale millimetres of the page of a micrometre of the face
    void drawZones(const QRectF &area, double scale)
    {
        mSheet->clip(area);
        for (const StoredZone &zone : mLast->zones)
            mSheet->ring(area.center(), zone.outerDiameter / 2.0 * scale, zoneColor);
        int number = 0;
        const QVector<GradedDefect> defects = failingDefects(*mLast).mid(0, mostDefectsShown);
        for (const GradedDefect &defect : defects) {
            const QPointF centre = area.center() + defect.centerMicrons * scale;
            const double radius = defect.sizeMicrons / 2 * scale + 0.8;
            mSheet->ring(centre, radius, defectColor, 0.3);
            drawNumber(area, centre + QPointF(radius * 0.75, -radius - numberSize / 2), ++number);
        }
        mSheet->unclip();
    }

    Sheet *mSheet;
    const ReportText &mWords;
    const ReportPoint &mPoint;
    const StoredInspection *mLast;
    const bool mIsContradiction;
    bool mIsMeasuring = false;
    double mTop = 0;
    double mY = 0;
    QVector<QRectF> mNumbers; ///< that stand on the picture
};
} // namespace

void failures(Sheet *sheet, const JobReport &report, QVector<PictureFault> *lost)
{
    const ReportText &words = sheet->words();
    if (std::none_of(report.points.cbegin(), report.points.cend(),
            [](const ReportPoint &point) { return isShown(point.state); }))
        return;
    sheet->heading(words(QT_TRANSLATE_NOOP("Report", "Points that did not pass")));
    sheet->y +=
        sheet->paragraph(words(QT_TRANSLATE_NOOP("Report",
                             "Pictures: outlines of all that was found in red, the zones in blue, what is beyond "
                             "the rules in yellow, numbered from the largest.")),
            {8.5, false, Ink::faint, Qt::AlignLeft, 2})
        + 5;
    Pictures pictures(report, lost);
    for (const ReportPoint &point : report.points) {
        if (sheet->isStopped())
            return;
        if (isShown(point.state))
            Block(sheet, report, point).draw(&pictures);
    }
}

} // namespace Reports::Sections
