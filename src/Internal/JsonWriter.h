// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

/// Writes JSON (RFC 8259) on one line, keys in the order of the calls.
class JsonWriter
{
public:
    JsonWriter &beginObject() { return open('{'); }
    JsonWriter &endObject() { return close('}'); }
    JsonWriter &beginArray() { return open('['); }
    JsonWriter &endArray() { return close(']'); }
    JsonWriter &key(const char *name);

    JsonWriter &value(const QString &text); ///< U+FFFD for a lone surrogate
    JsonWriter &value(const char *) = delete;
    JsonWriter &value(bool flag);
    JsonWriter &value(int number);
    JsonWriter &value(qint64 number);
    JsonWriter &value(float number); ///< the shortest form that reads back the same; 0 for what is not finite
    JsonWriter &value(double number); ///< likewise

    template <typename Value>
    JsonWriter &member(const char *name, const Value &content)
    {
        return key(name).value(content);
    }

    const QByteArray &bytes() const { return mBytes; }

private:
    JsonWriter &open(char bracket);
    JsonWriter &close(char bracket);
    JsonWriter &scalar(const QByteArray &text);
    void separate();

    QByteArray mBytes;
    bool mNeedsComma = false;
};
