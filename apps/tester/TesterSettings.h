// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AbstractSettings.h"
#include "FiberInspection/Standard.h"

#include <QUuid>
#include <QVariantList>

/// What the user chose, in the file tester.ini of the work directory. A value that is not stored, or is none, reads as
/// its default; one that is set is on the disk when the call comes back, or the log tells.
class TesterSettings : public AbstractSettings
{
    Q_OBJECT
    Q_PROPERTY(QString theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(QString operatorName READ operatorName WRITE setOperatorName NOTIFY operatorNameChanged)
    Q_PROPERTY(int quickStandard READ quickStandardNumber WRITE setQuickStandard NOTIFY quickStandardChanged)
    Q_PROPERTY(QString exportFolder READ exportFolder WRITE setExportFolder NOTIFY exportFolderChanged)
    Q_PROPERTY(bool goesOnAfterPass READ goesOnAfterPass WRITE setGoesOnAfterPass NOTIFY goesOnAfterPassChanged)
    Q_PROPERTY(int maxTextLength READ maxLength CONSTANT)
    Q_PROPERTY(QVariantList standardRows READ standardRows CONSTANT)

public:
    static constexpr int maxTextLength = 200; ///< characters of what people type
    static constexpr auto defaultStandard = FiberInspection::Standard::IEC61300_3_35_SM_RL45;

    explicit TesterSettings(const QString &filePath);

    /// Below BaseDirHelper::workDir().
    static QString defaultPath();

    /// The standards that the tester offers, the default first. Manual is not among them: by it nothing passes.
    static QVector<FiberInspection::Standard::Id> standards();

    /// The same as maps of name and value.
    QVariantList standardRows() const;

    QString language() const; ///< empty until one was chosen
    void setLanguage(const QString &language);

    static QStringList themes(); ///< the default first
    QString theme() const;
    void setTheme(const QString &theme); ///< one that there is not is not taken

    QString operatorName() const;
    void setOperatorName(const QString &name);

    /// The same for quick inspections, the one that was used last first.
    QVector<FiberInspection::Standard::Id> quickStandards() const;

    FiberInspection::Standard::Id quickStandard() const;
    int quickStandardNumber() const { return quickStandard(); }
    void setQuickStandard(int standard); ///< one that is not offered is not taken

    QUuid lastJob() const; ///< its identity; null when there was none
    void setLastJob(const QUuid &job);

    QString exportFolder() const;
    void setExportFolder(const QString &folder);

    bool goesOnAfterPass() const; ///< to the next port, without a tap
    void setGoesOnAfterPass(bool goesOn);

    /// The page of quick inspections is about to open: its list begins with the standard that was used last.
    Q_INVOKABLE void beginQuickInspection() { Q_EMIT quickInspectionBegins(); }

Q_SIGNALS:
    void quickInspectionBegins();
    void themeChanged();
    void operatorNameChanged();
    void quickStandardChanged();
    void exportFolderChanged();
    void goesOnAfterPassChanged();

private:
    static int maxLength() { return maxTextLength; }
    QString text(const char *key) const;
    bool store(const char *key, const QVariant &value);
};
