// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTranslator>

class QQmlEngine;

/// The language of the user interface: "en" or "de". Changing it translates what is shown.
class Language : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString current READ current WRITE setCurrent NOTIFY currentChanged)

public:
    /// Starts with the language of the system, or English.
    explicit Language(QObject *parent = nullptr);
    ~Language() override;

    QString current() const { return mCurrent; }
    void setCurrent(const QString &language);

    /// @param engine not owned
    void setEngine(QQmlEngine *engine);

Q_SIGNALS:
    void currentChanged(QString language); // by value: a receiver may choose again, or destroy this

private:
    void loadTexts();

    QPointer<QQmlEngine> mEngine;
    int mChanges = 0;
    QString mCurrent = QStringLiteral("en");
    QTranslator mLibrary;
    QTranslator mTester;
};
