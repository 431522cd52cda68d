// SPDX-License-Identifier: Apache-2.0
#include "Reports/XmpMetadata_p.h"

#include <QXmlStreamWriter>

namespace Reports {

namespace {
const QString rdf = QStringLiteral("http://www.w3.org/1999/02/22-rdf-syntax-ns#");
const QString dc = QStringLiteral("http://purl.org/dc/elements/1.1/");
const QString xmp = QStringLiteral("http://ns.adobe.com/xap/1.0/");

/// A list of one.
void writeOne(QXmlStreamWriter &xml, const char *name, const char *kind, const QString &text, bool hasLanguage)
{
    xml.writeStartElement(dc, QLatin1String(name));
    xml.writeStartElement(rdf, QLatin1String(kind));
    xml.writeStartElement(rdf, QStringLiteral("li"));
    if (hasLanguage)
        xml.writeAttribute(QStringLiteral("xml:lang"), QStringLiteral("x-default"));
    xml.writeCharacters(text);
    for (int i = 0; i < 3; ++i)
        xml.writeEndElement();
}
} // namespace

QByteArray xmpMetadata(const JobReport &report, const ReportText &words, const QString &software)
{
    QByteArray packet;
    QXmlStreamWriter xml(&packet);
    xml.writeNamespace(QStringLiteral("adobe:ns:meta/"), QStringLiteral("x"));
    xml.writeStartElement(QStringLiteral("adobe:ns:meta/"), QStringLiteral("xmpmeta"));
    xml.writeNamespace(rdf, QStringLiteral("rdf"));
    xml.writeStartElement(rdf, QStringLiteral("RDF"));
    xml.writeNamespace(dc, QStringLiteral("dc"));
    xml.writeNamespace(xmp, QStringLiteral("xmp"));
    xml.writeStartElement(rdf, QStringLiteral("Description"));
    xml.writeAttribute(rdf, QStringLiteral("about"), QString());
    writeOne(xml, "title", "Alt", ReportText::shown(report.job.name), true);
    if (!report.job.operatorName.isEmpty())
        writeOne(xml, "creator", "Seq", ReportText::shown(report.job.operatorName), false);
    writeOne(xml, "description", "Alt", words(QT_TRANSLATE_NOOP("Report", "Fibre inspection report")), true);
    writeOne(xml, "language", "Bag", QLatin1String(words.languageCode()), false);
    writeOne(xml, "identifier", "Bag", report.job.identity.toString(QUuid::WithoutBraces), false);
    xml.writeTextElement(xmp, QStringLiteral("CreateDate"), report.made.toUTC().toString(Qt::ISODate));
    xml.writeTextElement(xmp, QStringLiteral("CreatorTool"), ReportText::shown(software));
    xml.writeEndDocument();
    return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n" + packet
        + "\n<?xpacket end=\"w\"?>\n";
}

} // namespace Reports
