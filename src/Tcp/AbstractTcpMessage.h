// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Property.h"
#include "VantorBase_export.h"

/// Base of the messages between two units. A message class adds its content as properties and sets its type.
///
/// @code
/// class Reading : public AbstractTcpMessage
/// {
///     Q_OBJECT
///     VANTOR_PROPERTY(double, loss, 0) // dB
///
/// public:
///     Reading() { set_type(1); }
/// };
/// @endcode
class VANTORBASE_EXPORT AbstractTcpMessage : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(int, type, 0) // the application's number of the message class

public:
    AbstractTcpMessage();
    ~AbstractTcpMessage() override;

    /// The payload of a frame: the properties as JSON.
    virtual QByteArray toByteArray() const;

    /// Sets the properties from a payload. False if that is neither a JSON object nor a JSON array.
    virtual bool fromByteArray(const QByteArray &data);
};
