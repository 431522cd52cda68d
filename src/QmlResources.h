// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

/// Makes the files under qrc:/Vantor/ available: the style, the controls, the components and the pages.
///
/// Call it before the first of them is loaded. A shared library brings its resources when it is loaded, but a linker
/// may drop a library of which nothing is called; of a static one the resources are left out without this call. What
/// the pages need besides is in Pages/InspectionPages.h.
///
/// @code
/// initVantorQmlResources();
/// QQmlEngine engine;
/// engine.addImportPath(QStringLiteral("qrc:/"));
/// const QQmlComponent styles(&engine, QUrl(QStringLiteral("qrc:/Vantor/Style/GlobalStyles.qml")));
/// qInfo() << styles.errors();
/// @endcode
VANTORBASE_EXPORT void initVantorQmlResources();
