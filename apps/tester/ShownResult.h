// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "KeepingManager.h"
#include "PictureReader.h"

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

#include <memory>

class HeldPicture;
class JobStore;

/// The inspection that the result page and its details show: as the store has it, or, when it could not be stored, as
/// it was made, and then it says so. Lives in the user interface's thread.
class ShownResult : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isReady READ isReady NOTIFY changed)
    Q_PROPERTY(bool isKept READ isKept NOTIFY changed)
    Q_PROPERTY(qint64 inspection READ inspection NOTIFY changed)
    Q_PROPERTY(qint64 point READ point NOTIFY changed)
    Q_PROPERTY(int verdict READ verdict NOTIFY changed)
    Q_PROPERTY(int decision READ decision NOTIFY changed)
    Q_PROPERTY(bool isDoubtful READ isDoubtful NOTIFY changed)
    Q_PROPERTY(QVariantMap facts READ facts NOTIFY changed)
    Q_PROPERTY(QStringList lines READ lines NOTIFY changed)
    Q_PROPERTY(QUrl picture READ picture NOTIFY pictureChanged)
    Q_PROPERTY(bool isPictureAwaited READ isPictureAwaited NOTIFY pictureChanged)
    Q_PROPERTY(QString pictureProblem READ pictureProblem NOTIFY pictureChanged)
    Q_PROPERTY(QSize pictureSize READ pictureSize NOTIFY changed)
    Q_PROPERTY(QVariantList rules READ rules NOTIFY changed)
    Q_PROPERTY(QVariantList zones READ zones NOTIFY changed)
    Q_PROPERTY(QVariantList defects READ defects NOTIFY changed)
    Q_PROPERTY(int defectCount READ defectCount NOTIFY changed)
    Q_PROPERTY(QVariantMap offered READ offered NOTIFY offeredChanged)

public:
    static constexpr int maxDefects = 20; ///< that are numbered and listed: those that fail first, the largest first

    explicit ShownResult(JobStore *jobs, QObject *parent = nullptr);
    ~ShownResult() override;

    bool isReady() const { return mIsReady; }
    bool isKept() const { return mKept.id != Records::noId; }
    qint64 inspection() const { return mKept.id; }
    qint64 point() const { return mStored.point; } ///< noId: of none, or of a store that is not there any more
    int verdict() const { return static_cast<int>(mStored.verdict); } ///< a Records::Verdict
    int decision() const { return static_cast<int>(mStored.decision); } ///< a Records::Decision

    /// The record contradicts itself: its verdict must not be shown as if it were one.
    bool isDoubtful() const { return mIsDoubtful; }

    /// pointName, side, jobName, standardName, made, note, cause (why there is no verdict), problem (why it is not
    /// kept, or cannot be read back).
    QVariantMap facts() const;

    QStringList lines() const; ///< what failed and by how much

    /// Annotated, or the photograph when there is no verdict. That of a record is read behind changed().
    QUrl picture() const { return mPicture; }
    bool isPictureAwaited() const { return mIsPictureAwaited; }
    QString pictureProblem() const; ///< why there is none; empty while it is awaited
    QSize pictureSize() const { return mPictureSize; } ///< pixels; empty for a photograph

    /// Maps of zone, isScratch, sizes, allowed (-1: any number), found and violated.
    QVariantList rules() const;

    /// Maps of zone and diameter, in pixels of the picture.
    QVariantList zones() const;

    /// Maps of number, zone, isScratch, size (text), place (text), fails, x, y and radius; the last three in pixels of
    /// the picture.
    QVariantList defects() const;
    int defectCount() const { return mStored.defects.size(); } ///< also of those beyond maxDefects

    /// The answer to an inspection that is offered: point, pointName, isKept, verdict, and problem. Empty when there is
    /// none.
    QVariantMap offered() const { return mOffer; }

    /// The answer to an inspection. It is not shown before somebody asks for it: a page may show another one, and what
    /// is decided on it must not become the decision on this one.
    void offer(const KeptInspection &kept);

    Q_INVOKABLE void showOffered();
    Q_INVOKABLE void forgetOffered();

    void show(const KeptInspection &kept);

    /// One from the store.
    Q_INVOKABLE bool showStored(qint64 inspection);

    /// Reads it again, for a decision was made.
    Q_INVOKABLE void refresh();
    void retranslate();

Q_SIGNALS:
    void changed();
    void pictureChanged();
    void offeredChanged();
    void cameIn(); ///< an inspection is offered

private:
    void checkIdentity();
    void read();
    Records::StoredInspection recordOf(KeptInspection *kept) const;
    void sortDefects();
    void choosePicture();
    void showPicture(quint64 number, const QImage &image, Records::Fault fault);

    JobStore *const mJobs;
    const std::unique_ptr<HeldPicture> mHeld;
    bool mIsReady = false;
    bool mIsDoubtful = false;
    KeptInspection mOffered;
    QVariantMap mOffer;
    KeptInspection mKept; ///< without its inspection when that is stored
    Records::StoredInspection mStored;
    PictureReader mReader;
    QUrl mPicture;
    quint64 mPictureNumber = 0; ///< of those that were asked for
    bool mIsPictureAwaited = false;
    Records::Fault mPictureFault = Records::Fault::None;
    QSize mPictureSize;
};
