// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMutex>
#include <QMutexLocker>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

/// Collects the log of all threads while it lives, instead of printing it. Of nested captures the inner one collects.
class LogCapture
{
public:
    struct Line
    {
        QtMsgType level = QtDebugMsg;
        QString text;
        QString category;
    };

    LogCapture()
        : mOuter(sCurrent)
    {
        sCurrent = this;
        mPreviousHandler = qInstallMessageHandler(&LogCapture::collect);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(mPreviousHandler);
        sCurrent = mOuter;
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QVector<Line> lines() const
    {
        const QMutexLocker lock(&mMutex);
        return mLines;
    }

    /// All lines with their level in front: "warning: Image is not gray".
    QStringList asText() const
    {
        const QVector<Line> all = lines();
        QStringList result;
        for (const Line &line : all)
            result << levelName(line.level) + QStringLiteral(": ") + line.text;
        return result;
    }

    QStringList texts(QtMsgType level) const
    {
        const QVector<Line> all = lines();
        QStringList result;
        for (const Line &line : all) {
            if (line.level == level)
                result << line.text;
        }
        return result;
    }

    QStringList debugs() const { return texts(QtDebugMsg); }
    QStringList warnings() const { return texts(QtWarningMsg); }

    void clear()
    {
        const QMutexLocker lock(&mMutex);
        mLines.clear();
    }

private:
    static void collect(QtMsgType level, const QMessageLogContext &context, const QString &text)
    {
        LogCapture *const capture = sCurrent;
        if (level == QtFatalMsg && capture && capture->mPreviousHandler)
            capture->mPreviousHandler(level, context, text); // the program ends, somebody wants to read why
        if (!capture)
            return;
        const QMutexLocker lock(&capture->mMutex);
        capture->mLines.append({level, text, QString::fromUtf8(context.category)});
    }

    static QString levelName(QtMsgType level)
    {
        switch (level) {
        case QtDebugMsg:
            return QStringLiteral("debug");
        case QtInfoMsg:
            return QStringLiteral("info");
        case QtWarningMsg:
            return QStringLiteral("warning");
        case QtCriticalMsg:
            return QStringLiteral("critical");
        case QtFatalMsg:
            return QStringLiteral("fatal");
        }
        return {};
    }

    static inline LogCapture *sCurrent = nullptr;

    LogCapture *const mOuter;
    QtMessageHandler mPreviousHandler = nullptr;
    mutable QMutex mMutex;
    QVector<Line> mLines;
};
