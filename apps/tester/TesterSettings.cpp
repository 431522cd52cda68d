// SPDX-License-Identifier: Apache-2.0
#include "TesterSettings.h"

#include "Helpers/BaseDirHelper.h"

#include <QSettings>
#include <QStandardPaths>

using FiberInspection::Standard;

namespace {
constexpr char languageKey[] = "language";
constexpr char themeKey[] = "theme";
constexpr char operatorKey[] = "operator";
constexpr char quickStandardKey[] = "quickStandard";
constexpr char lastJobKey[] = "lastJob";
constexpr char exportFolderKey[] = "exportFolder";
constexpr char goesOnKey[] = "goesOnAfterPass";
} // namespace

TesterSettings::TesterSettings(const QString &filePath)
    : AbstractSettings(filePath)
{
}

QString TesterSettings::defaultPath()
{
    return BaseDirHelper::workDir() + QStringLiteral("tester.ini");
}

QVector<Standard::Id> TesterSettings::standards()
{
    QVector<Standard::Id> ids = Standard::allStandardIds();
    ids.removeAll(Standard::Manual);
    ids.removeAll(defaultStandard);
    ids.prepend(defaultStandard);
    return ids;
}

QVariantList TesterSettings::standardRows() const
{
    QVariantList rows;
    const QVector<Standard::Id> offered = standards();
    for (const Standard::Id id : offered) {
        rows.append(
            QVariantMap{{QStringLiteral("name"), Standard::name(id)}, {QStringLiteral("value"), static_cast<int>(id)}});
    }
    return rows;
}

QString TesterSettings::text(const char *key) const
{
    return value(QLatin1String(key)).toString().left(maxTextLength); // anybody may have edited the file
}

bool TesterSettings::store(const char *key, const QVariant &value)
{
    if (this->value(QLatin1String(key)) == value)
        return false;
    m_settings->setValue(QLatin1String(key), value);
    sync();
    return true;
}

QString TesterSettings::language() const
{
    return text(languageKey);
}

void TesterSettings::setLanguage(const QString &language)
{
    store(languageKey, language);
}

QString TesterSettings::theme() const
{
    const QString theme = text(themeKey);
    return themes().contains(theme) ? theme : themes().constFirst();
}

void TesterSettings::setTheme(const QString &theme)
{
    if (themes().contains(theme) && store(themeKey, theme))
        Q_EMIT themeChanged();
}

QStringList TesterSettings::themes()
{
    return {QStringLiteral("light"), QStringLiteral("dark")};
}

QString TesterSettings::operatorName() const
{
    return text(operatorKey);
}

void TesterSettings::setOperatorName(const QString &name)
{
    if (store(operatorKey, name.trimmed().left(maxTextLength)))
        Q_EMIT operatorNameChanged();
}

Standard::Id TesterSettings::quickStandard() const
{
    bool isNumber = false;
    const int number = value(QLatin1String(quickStandardKey)).toInt(&isNumber);
    const auto standard = static_cast<Standard::Id>(number);
    return isNumber && standards().contains(standard) ? standard : defaultStandard;
}

QVector<Standard::Id> TesterSettings::quickStandards() const
{
    QVector<Standard::Id> ids = standards();
    ids.removeAll(quickStandard());
    ids.prepend(quickStandard());
    return ids;
}

void TesterSettings::setQuickStandard(int standard)
{
    if (standards().contains(static_cast<Standard::Id>(standard)) && store(quickStandardKey, standard))
        Q_EMIT quickStandardChanged();
}

QUuid TesterSettings::lastJob() const
{
    return QUuid::fromString(text(lastJobKey));
}

void TesterSettings::setLastJob(const QUuid &job)
{
    store(lastJobKey, job.toString(QUuid::WithoutBraces));
}

QString TesterSettings::exportFolder() const
{
    const QString folder = text(exportFolderKey);
    return folder.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) : folder;
}

void TesterSettings::setExportFolder(const QString &folder)
{
    if (store(exportFolderKey, folder.left(maxTextLength)))
        Q_EMIT exportFolderChanged();
}

bool TesterSettings::goesOnAfterPass() const
{
    return value(QLatin1String(goesOnKey)).toBool();
}

void TesterSettings::setGoesOnAfterPass(bool goesOn)
{
    if (store(goesOnKey, goesOn))
        Q_EMIT goesOnAfterPassChanged();
}
