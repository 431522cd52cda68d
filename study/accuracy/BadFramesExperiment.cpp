// SPDX-License-Identifier: Apache-2.0
#include "simulation/EndfaceScenes.h"
#include "study/accuracy/Experiments.h"
#include "study/accuracy/Scenes.h"
#include "study/report/Statistics.h"

namespace Study {

namespace {
constexpr int experiment = 7;

/// One kind of picture that is not an ordinary one.
struct Picture
{
    QString name;
    int faces; ///< large ones take long
    void (*apply)(EndfaceScene *scene, double value);
    double value;
};

void setFrame(EndfaceScene *scene, double frame)
{
    scene->frame = static_cast<EndfaceScene::Frame>(static_cast<int>(frame));
}

void setFieldOfView(EndfaceScene *scene, double share)
{
    scene->fovWidth *= share;
}

void setWidth(EndfaceScene *scene, double width)
{
    scene->size = QSize(static_cast<int>(width), static_cast<int>(width) * 3 / 4);
}

void moveRight(EndfaceScene *scene, double distance)
{
    scene->offset = {distance, 0.0};
}

void addSpecks(EndfaceScene *scene, double count)
{
    addEndfaceSpecks(scene, static_cast<int>(count));
}

QVector<Picture> pictures()
{
    using Frame = EndfaceScene::Frame;
    QVector<Picture> all{
        {QStringLiteral("no fibre"), 20, setFrame, static_cast<double>(Frame::NoFibre)},
        {QStringLiteral("two fibres"), 20, setFrame, static_cast<double>(Frame::TwoFibres)},
        {QStringLiteral("fibre cut by the border"), 20, setFrame, static_cast<double>(Frame::CutByBorder)},
    };
    for (const int distance : {240, 270, 285, 300, 330})
        all.append({QStringLiteral("fibre %1 µm right of the middle").arg(distance), 12, moveRight, double(distance)});
    for (const int percent : {80, 85, 90, 93, 95, 97, 99, 101, 103, 105, 108, 110, 115, 120}) {
        all.append({QStringLiteral("field of view of %1 % of what the scope says").arg(percent), 12, setFieldOfView,
            percent / 100.0});
    }
    for (const int width : {480, 640, 1024, 1280, 1600, 2048})
        all.append({QStringLiteral("%1 × %2 pixels").arg(width).arg(width * 3 / 4), 8, setWidth, double(width)});
    for (const int specks : {20, 50, 100, 200, 500, 1000})
        all.append({QStringLiteral("%1 specks of dirt").arg(specks), 12, addSpecks, double(specks)});
    return all;
}

struct Answers
{
    Proportion passed;
    Proportion failed;
    Proportion noCladding;
    Proportion noCrop;
    Proportion other;
};

void add(const Inspection &inspection, Answers *answers)
{
    const bool noCladding = inspection.reason == QLatin1String("Failed to detect cladding");
    const bool noCrop = inspection.reason == QLatin1String("crop geometry is invalid");
    answers->passed.add(inspection.hasVerdict() && inspection.passed);
    answers->failed.add(inspection.hasVerdict() && !inspection.passed);
    answers->noCladding.add(noCladding);
    answers->noCrop.add(noCrop);
    answers->other.add(!inspection.hasVerdict() && !noCladding && !noCrop);
}
} // namespace

QVector<Face> BadFramesExperiment::faces(const Effort &effort) const
{
    QVector<Face> faces;
    const QVector<Picture> plan = pictures();
    for (int picture = 0; picture < plan.size(); ++picture) {
        for (int number = 0; number < effort.times(plan[picture].faces); ++number) {
            Face face;
            face.cell = picture;
            face.scene = ordinaryFace(faceSeed(experiment, face.cell, number), Mode::SingleMode);
            face.standards = {standardOf(Mode::SingleMode)};
            plan[picture].apply(&face.scene, plan[picture].value);
            faces.append(face);
        }
    }
    return faces;
}

void BadFramesExperiment::evaluate(
    const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const
{
    const QVector<Picture> plan = pictures();
    QVector<Answers> answers(plan.size());
    for (int i = 0; i < faces.size(); ++i)
        add(outcomes[i].first(), &answers[faces[i].cell]);

    Table table({QStringLiteral("Picture"), QStringLiteral("faces"), QStringLiteral("passed"), QStringLiteral("failed"),
        QStringLiteral("“Failed to detect cladding”"), QStringLiteral("“crop geometry is invalid”"),
        QStringLiteral("other")});
    for (int picture = 0; picture < plan.size(); ++picture) {
        const Answers &cell = answers[picture];
        table.addRow({plan[picture].name, QString::number(cell.passed.trials()), cell.passed.rateText(),
            cell.failed.rateText(), cell.noCladding.rateText(), cell.noCrop.rateText(), cell.other.rateText()});
    }
    findings->addTable(QStringLiteral("bad-frames"), table);
}

} // namespace Study
