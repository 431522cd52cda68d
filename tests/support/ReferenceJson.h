// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QString>
#include <QVector>

/// The plain way to see whether an object of a JSON text names a key twice: go down into every value, let Qt read the
/// keys one by one, and remember them.
class ReferenceJson
{
public:
    static bool namesAKeyTwice(const QByteArray &json)
    {
        ReferenceJson plain(json);
        plain.passValue();
        return plain.mFound;
    }

private:
    explicit ReferenceJson(const QByteArray &json)
        : mJson(json)
    {
        if (mJson.startsWith("\xef\xbb\xbf"))
            mAt = 3;
    }

    /// 0 at the end.
    char next()
    {
        while (mAt < mJson.size() && QByteArray(" \t\r\n").contains(mJson[mAt]))
            ++mAt;
        return mAt < mJson.size() ? mJson[mAt] : '\0';
    }

    void passValue()
    {
        switch (next()) {
        case '{':
            passObject();
            break;
        case '[':
            passArray();
            break;
        case '"':
            passString();
            break;
        default:
            while (next() != '\0' && !QByteArray("{}[],:\"").contains(next()))
                ++mAt;
        }
    }

    QByteArray passString()
    {
        const int start = mAt++;
        while (mAt < mJson.size() && mJson[mAt] != '"')
            mAt += mJson[mAt] == '\\' ? 2 : 1;
        ++mAt;
        return mJson.mid(start, mAt - start);
    }

    void passObject()
    {
        QSet<QVector<uint>> keys; // in UCS-4 a lone surrogate is the replacement character, for which Qt may take it
        bool isTwice = false;
        ++mAt;
        while (next() == '"') {
            const QString text = QJsonDocument::fromJson('[' + passString() + ']').array().at(0).toString();
            const QVector<uint> key = text.toUcs4();
            isTwice = isTwice || keys.contains(key);
            keys.insert(key);
            if (next() == ':')
                ++mAt;
            passValue();
            if (next() == ',')
                ++mAt;
        }
        if (next() == '}') {
            ++mAt;
            mFound = mFound || isTwice;
        }
    }

    void passArray()
    {
        ++mAt;
        while (next() != ']' && next() != '\0') {
            const int before = mAt;
            passValue();
            if (next() == ',')
                ++mAt;
            if (mAt == before)
                return; // no JSON
        }
        ++mAt;
    }

    const QByteArray mJson;
    int mAt = 0;
    bool mFound = false;
};
