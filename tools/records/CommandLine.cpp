// SPDX-License-Identifier: Apache-2.0
#include "records/CommandLine.h"

#include "Records/RecordStore.h"
#include "common/Micrometres.h"
#include "common/StandardNames.h"
#include "names/Explanation.h"
#include "records/StoreAccess.h"
#include "records/Words.h"

#include <QDir>
#include <QLocale>
#include <QRegularExpression>

#include <limits>

namespace RecordsTool {

using Action = Options::Action;

namespace {
constexpr int maxPage = std::numeric_limits<int>::max() / Records::Page::maxRows;

struct Command
{
    const char *name;
    Action action;
    const char *operand; ///< what it needs; null where there is none
};
constexpr Command commands[] = {
    {"list", Action::List, nullptr},
    {"show", Action::Show, "the number of an inspection"},
    {"search", Action::Search, "words to search for"},
    {"export", Action::Export, nullptr},
    {"import", Action::Import, "a folder of pictures"},
    {"verify", Action::Verify, nullptr},
    {"backup", Action::Backup, "a folder for the copy"},
    {"merge", Action::Merge, "the folder of another store"},
};

/// Which commands an option goes with.
struct Fit
{
    const char *option;
    const char *commands; ///< separated by blanks
};
constexpr Fit fits[] = {
    {"job", "list search export import"},
    {"job-id", "list search export import"},
    {"verdict", "list search export"},
    {"standard", "list search export import"},
    {"from", "list search export"},
    {"until", "list search export"},
    {"page", "list search"},
    {"limit", "list search"},
    {"jobs", "list"},
    {"csv", "export"},
    {"json", "export"},
    {"output", "export"},
    {"pdf", "export"},
    {"zip", "export"},
    {"language", "export"},
    {"separator", "export"},
    {"decimal-comma", "export"},
    {"no-bom", "export"},
    {"first", "import"},
    {"last", "import"},
    {"side", "import"},
    {"fibre", "import"},
    {"fov", "import"},
    {"customer", "import"},
    {"site", "import"},
    {"operator", "import"},
    {"again", "verify"},
};

/// A message that begins with it is told from a sentence then.
QString absolute(const QString &path)
{
    return path.startsWith(QLatin1Char('/')) ? path : QDir::currentPath() + QLatin1Char('/') + path;
}
} // namespace

CommandLine::CommandLine()
    : mStore(QStringLiteral("store"), QStringLiteral("The folder of the store (default: %1).").arg(usualStore()),
        QStringLiteral("FOLDER"))
    , mJob(option("job", "Of the job of this name. import adds it when there is none.", "NAME"))
    , mJobId(option("job-id", "Of the job of this number, as list --jobs shows it.", "N"))
    , mVerdict(option("verdict", "Only passed, failed, or none: those that could not be made.", "VERDICT"))
    , mStandard(QStringLiteral("standard"),
          QStringLiteral("Only those by this standard. With import: the standard of a job that is added (default: %1).")
              .arg(Tools::defaultStandardName()),
          QStringLiteral("NAME"))
    , mFrom(option("from", "Only those made at this local time or later: 2026-11-22, or 2026-11-22T14:30.", "TIME"))
    , mUntil(option("until", "Only those made at this local time or earlier; a day counts to its end.", "TIME"))
    , mPage(option("page", "Show this page (default: 1).", "N"))
    , mLimit(option("limit", "Rows of a page, at most 1000 (default: 50).", "N"))
    , mJobs(option("jobs", "List the jobs and how far they are."))
    , mCsv(option("csv",
          "Write a line for each inspection, as a spreadsheet opens it. A text that it would take for a formula gets a "
          "' in front, and so does one that begins with '."))
    , mJson(option("json", "Write one document with all that is known, as docs/records.schema.json describes it."))
    , mPdf(option("pdf",
          "Write the report of one job into this file: cover, panel, points, failures with pictures, statistics.",
          "FILE"))
    , mZip(option("zip",
          "Write all there is of one job into this file: report, table, document, pictures, and their sums.", "FILE"))
    , mLanguage(option("language", "With --pdf or --zip: en or de (default: that of the user).", "LANGUAGE"))
    , mOutput(option({QStringLiteral("o"), QStringLiteral("output")},
          "Write into this file: whole or not at all (default: stdout).", "FILE"))
    , mSeparator(
          option("separator", "With --csv or --zip: what stands between the fields: , or ; or tab (default: ,).", "S"))
    , mDecimalComma(
          option("decimal-comma", "With --csv or --zip: numbers as in 1,5; such a spreadsheet wants --separator ';'."))
    , mNoBom(option("no-bom", "With --csv or --zip: no byte order mark, which spreadsheets need and programs do not."))
    , mFirst(option("first",
          "Name of the first point; with --last. The pictures follow in the order of their names, "
          "where 2 comes before 10.",
          "NAME"))
    , mLast(option("last", "Name of the last point. Without a run, points are called like the files.", "NAME"))
    , mSide(option("side", "Side of the points: A or B (default: A).", "SIDE"))
    , mFibre(option("fibre", "Kind of their fibre: sm, apc, mm or unknown (default: unknown).", "KIND"))
    , mFieldOfView(QStringLiteral("fov"),
          QStringLiteral("Field of view of the whole picture in micrometres (default: %1).")
              .arg(Tools::fieldOfViewText(FiberInspection::Device::ks20().fov)),
          QStringLiteral("WxH"))
    , mCustomer(option("customer", "Customer of a job that is added.", "TEXT"))
    , mSite(option("site", "Its site.", "TEXT"))
    , mOperator(option("operator", "Its operator.", "TEXT"))
    , mAgain(option("again",
          "Inspect the stored pictures again, and compare the verdicts with those that this version has given."))
{
    mParser.setApplicationDescription(QStringLiteral(
        "Lists, exports, fills and checks the store of inspections.\n\n"
        "  list                     the inspections, the latest first; --jobs: the jobs\n"
        "  show ID                  all that is known of one inspection\n"
        "  search WORDS             inspections by beginnings of words of job, customer, site, operator,\n"
        "                           point and note\n"
        "  export --csv|--json      the inspections as a file for others, the oldest first\n"
        "  export --pdf|--zip FILE  the report of one job; as an archive with all its pictures. The job may be\n"
        "                           left out where the store has but one\n"
        "  import FOLDER --job NAME inspects the pictures of a folder as points of a job; a picture that\n"
        "                           its point has already keeps its verdict, unless --fov says that its\n"
        "                           field of view was another one, and one of another point is left out\n"
        "  verify                   checks the database, each record and the sums of all pictures\n"
        "  backup FOLDER            writes a copy, a store itself, into a folder that holds none; a folder\n"
        "                           and not a file, because the pictures belong to it\n"
        "  merge FOLDER             takes over what the store of another unit has and this one does not: all\n"
        "                           or nothing; twice is once\n\n"
        "All but import and merge may run while another program writes into the store.\n\n"
        "Exit code: 0 done, also an export that found no inspection; of import: all points passed, those\n"
        "of known pictures as they stand now, 1 what was asked for is not there, some failed, the store\n"
        "has faults, or of merge: inspections were decided or described differently, 2 some pictures could\n"
        "not be inspected, were left out, are missing or damaged, some points are to be repeated, or some\n"
        "records cannot be exported or contradict themselves in a report, 64 wrong usage, 69 a store cannot\n"
        "be opened, or another program writes into it, 71 out of memory, 74 the\n"
        "store, the output or stdout cannot be written.\n"
        "After Ctrl-C what was imported until then stays, and nothing was merged."));
    mParser.addPositionalArgument(
        QStringLiteral("COMMAND"), QStringLiteral("One of those above."), QStringLiteral("COMMAND..."));
    mParser.addOptions({mStore, mJob, mJobId, mVerdict, mStandard, mFrom, mUntil, mPage, mLimit, mJobs, mCsv, mJson,
        mPdf, mZip, mLanguage, mOutput, mSeparator, mDecimalComma, mNoBom, mFirst, mLast, mSide, mFibre, mFieldOfView,
        mCustomer, mSite, mOperator, mAgain, mVersion, mHelp});
}

bool CommandLine::readOptions()
{
    mOptions.inspectsAgain = mParser.isSet(mAgain);
    mOptions.store = mParser.isSet(mStore) ? mParser.value(mStore) : usualStore();
    if (mOptions.store.isEmpty())
        return refuseValue(mStore, QStringLiteral("the name of a folder"));
    mOptions.store = absolute(mOptions.store);
    return readCommand() && checkThatOptionsFit() && readJob() && readFilter() && readPage() && readFormat()
        && readImport();
}

bool CommandLine::readCommand()
{
    QStringList words = mParser.positionalArguments();
    if (words.isEmpty())
        return refuse(QStringLiteral("which command? See --help"));
    const QString name = words.takeFirst();
    const auto *const command = std::find_if(std::begin(commands), std::end(commands),
        [&name](const Command &candidate) { return name == QLatin1String(candidate.name); });
    if (command == std::end(commands))
        return refuse(QStringLiteral("there is no command \"%1\"; see --help").arg(name));
    mOptions.action = command->action;
    mOptions.operand = mOptions.action == Action::Search ? words.join(QLatin1Char(' ')) : words.value(0);
    if (command->operand != nullptr && mOptions.operand.isEmpty())
        return refuse(QStringLiteral("%1 needs %2").arg(name, QString::fromLatin1(command->operand)));
    const int most = command->operand == nullptr ? 0 : 1;
    if (words.size() > most && mOptions.action != Action::Search)
        return refuse(QStringLiteral("\"%1\" is too much; see --help").arg(words.at(most)));

    if (mOptions.action == Action::Search)
        mOptions.filter.text = mOptions.operand;
    if (mOptions.action == Action::Backup || mOptions.action == Action::Merge)
        mOptions.operand = absolute(mOptions.operand);
    if (mOptions.action == Action::List && mParser.isSet(mJobs))
        mOptions.action = Action::ListJobs;
    bool isNumber = true;
    if (mOptions.action == Action::Show)
        mOptions.inspection = mOptions.operand.toLongLong(&isNumber);
    return isNumber
        || refuse(QStringLiteral("show needs the number of an inspection, not \"%1\"").arg(mOptions.operand));
}

bool CommandLine::checkThatOptionsFit()
{
    const QString command = mParser.positionalArguments().constFirst();
    for (const Fit &fit : fits) {
        const QString option = QLatin1String(fit.option);
        const QStringList wanted = QString::fromLatin1(fit.commands).split(QLatin1Char(' '));
        if (mParser.isSet(option) && !wanted.contains(command))
            return refuse(QStringLiteral("--%1 goes with %2").arg(option, wanted.join(QStringLiteral(", "))));
    }
    if (mOptions.action != Action::ListJobs)
        return true;
    for (const QCommandLineOption *const option : {&mJob, &mJobId, &mVerdict, &mStandard, &mFrom, &mUntil}) {
        if (mParser.isSet(*option))
            return refuse(QStringLiteral("--%1 does not go with --jobs").arg(option->names().constLast()));
    }
    return true;
}

QString CommandLine::textOf(const QCommandLineOption &option) const
{
    return withoutMark(mParser.value(option));
}

bool CommandLine::readJob()
{
    mOptions.jobName = textOf(mJob);
    if (mParser.isSet(mJob) && mOptions.jobName.trimmed().isEmpty())
        return refuseValue(mJob, QStringLiteral("a name"));
    if (mParser.isSet(mJob) && mParser.isSet(mJobId))
        return refuse(QStringLiteral("--job and --job-id exclude each other"));
    if (!mParser.isSet(mJobId))
        return true;
    bool ok = false;
    mOptions.jobId = mParser.value(mJobId).toLongLong(&ok);
    return (ok && mOptions.jobId > 0) || refuseValue(mJobId, QStringLiteral("the number of a job"));
}

bool CommandLine::readFilter()
{
    if (mParser.isSet(mVerdict)) {
        mOptions.filter.verdict = Words::verdictOf(mParser.value(mVerdict));
        if (!mOptions.filter.verdict)
            return refuseValue(mVerdict, QStringLiteral("passed, failed or none"));
    }
    if (mParser.isSet(mStandard) && !readStandard(mParser.value(mStandard), &mOptions.standard))
        return refuseValue(mStandard, Tools::standardNames().join(QStringLiteral(", ")));
    if (mOptions.action != Action::Import)
        mOptions.filter.standard = mOptions.standard;
    static const QTime lastMoment(23, 59, 59, 999);
    return readTime(mFrom, QTime(0, 0), &mOptions.filter.from) && readTime(mUntil, lastMoment, &mOptions.filter.until);
}

bool CommandLine::readTime(const QCommandLineOption &option, const QTime &timeOfDay, QDateTime *time)
{
    if (!mParser.isSet(option))
        return true;
    static const QRegularExpression pattern(QStringLiteral(
        "\\A([0-9]{4}-[0-9]{2}-[0-9]{2})(?:[T ]([0-9]{2}:[0-9]{2}(?::[0-9]{2}(?:[.][0-9]{1,3})?)?))?\\z"));
    const QRegularExpressionMatch match = pattern.match(mParser.value(option));
    const QString day = match.captured(1);
    const QString clock = match.captured(2);
    *time = clock.isEmpty() ? QDateTime(QDate::fromString(day, Qt::ISODate), timeOfDay)
                            : QDateTime::fromString(day + QLatin1Char('T') + clock, Qt::ISODate);
    return time->isValid() || refuseValue(option, QStringLiteral("a day or a time such as 2026-11-22T14:30"));
}

bool CommandLine::readStandard(const QString &name, std::optional<FiberInspection::Standard::Id> *standard)
{
    const QVector<FiberInspection::Standard::Id> ids = Tools::standardsNamed(name);
    if (ids.size() != 1)
        return false;
    *standard = ids.first();
    return true;
}

bool CommandLine::readPage()
{
    return readNumber(mPage, maxPage, &mOptions.page) && readNumber(mLimit, Records::Page::maxRows, &mOptions.limit);
}

bool CommandLine::readFormat()
{
    if (mOptions.action != Action::Export)
        return true;
    using Format = Options::Format;
    const std::pair<const QCommandLineOption *, Format> formats[] = {
        {&mCsv, Format::Csv}, {&mJson, Format::Json}, {&mPdf, Format::Pdf}, {&mZip, Format::Zip}};
    int chosen = 0;
    for (const auto &format : formats) {
        if (!mParser.isSet(*format.first))
            continue;
        ++chosen;
        mOptions.format = format.second;
    }
    if (chosen != 1)
        return refuse(QStringLiteral("export needs one of --csv, --json, --pdf and --zip"));
    return checkThatFormatFits() && readOutput() && readTable();
}

bool CommandLine::checkThatFormatFits()
{
    for (const QCommandLineOption *const option : {&mSeparator, &mDecimalComma, &mNoBom}) {
        if (mParser.isSet(*option) && mOptions.format != Options::Format::Csv
            && mOptions.format != Options::Format::Zip)
            return refuse(QStringLiteral("--%1 goes with --csv and --zip").arg(option->names().constLast()));
    }
    for (const QCommandLineOption *const option : {&mVerdict, &mStandard, &mFrom, &mUntil, &mOutput}) {
        if (mParser.isSet(*option) && mOptions.isReport())
            return refuse(QStringLiteral("--%1 does not go with --pdf and --zip").arg(option->names().constLast()));
    }
    return !mParser.isSet(mLanguage) || mOptions.isReport()
        || refuse(QStringLiteral("--language goes with --pdf and --zip"));
}

bool CommandLine::readOutput()
{
    const QCommandLineOption &option = mOptions.format == Options::Format::Pdf ? mPdf
        : mOptions.format == Options::Format::Zip                              ? mZip
                                                                               : mOutput;
    mOptions.output = mParser.value(option);
    if (mParser.isSet(option) && mOptions.output.isEmpty())
        return refuseValue(option, QStringLiteral("the name of a file"));
    const QString language = mParser.value(mLanguage);
    mOptions.isGerman =
        mParser.isSet(mLanguage) ? language == QLatin1String("de") : QLocale::system().language() == QLocale::German;
    return !mParser.isSet(mLanguage) || language == QLatin1String("de") || language == QLatin1String("en")
        || refuseValue(mLanguage, QStringLiteral("en or de"));
}

bool CommandLine::readTable()
{
    mOptions.hasDecimalComma = mParser.isSet(mDecimalComma);
    mOptions.hasByteOrderMark = !mParser.isSet(mNoBom);
    if (!mParser.isSet(mSeparator))
        return true;
    const QString separator = mParser.value(mSeparator);
    const bool isTab = separator == QLatin1String("tab") || separator == QLatin1String("\t");
    if (!isTab && separator != QLatin1String(",") && separator != QLatin1String(";"))
        return refuseValue(mSeparator, QStringLiteral("\",\", \";\" or tab"));
    mOptions.separator = isTab ? QLatin1Char('\t') : separator.at(0);
    return true;
}

bool CommandLine::readImport()
{
    if (mOptions.action != Action::Import)
        return true;
    if (!mOptions.choosesJob())
        return refuse(QStringLiteral("import needs --job"));
    mOptions.job.name = mOptions.jobName;
    mOptions.job.customer = textOf(mCustomer);
    mOptions.job.site = textOf(mSite);
    mOptions.job.operatorName = textOf(mOperator);
    mOptions.job.standard = mOptions.standard.value_or(mOptions.job.standard);

    const auto side = Words::sideOf(mParser.isSet(mSide) ? mParser.value(mSide) : Words::of(mOptions.side));
    if (!side)
        return refuseValue(mSide, QStringLiteral("A or B"));
    const auto fibre = Words::fibreOf(mParser.isSet(mFibre) ? mParser.value(mFibre) : Words::of(mOptions.fibre));
    if (!fibre)
        return refuseValue(mFibre, QStringLiteral("sm, apc, mm or unknown"));
    mOptions.side = *side;
    mOptions.fibre = *fibre;
    return readRun() && readFieldOfView();
}

bool CommandLine::readRun()
{
    mOptions.first = textOf(mFirst);
    mOptions.last = textOf(mLast);
    if (mParser.isSet(mFirst) != mParser.isSet(mLast))
        return refuse(QStringLiteral("--first and --last belong together"));
    if (!mParser.isSet(mFirst))
        return true;
    if (mOptions.first.isEmpty() || mOptions.last.isEmpty()) // or the files would name the points
        return refuse(QStringLiteral("--first and --last need names"));
    QVector<QString> names;
    NameGenFault fault;
    constexpr int most = Records::RecordStore::maxPointsOfRun;
    const auto error = TestNameGenerator::generateTestNames(mOptions.first, mOptions.last, names, most, fault);
    return error == TestNameGenerator::NoError
        || refuse(Names::explanationOf(fault, mOptions.first, mOptions.last, most).sentence);
}

bool CommandLine::readFieldOfView()
{
    if (!mParser.isSet(mFieldOfView))
        return true;
    const QSize size = Tools::fieldOfViewOf(mParser.value(mFieldOfView));
    if (size.isEmpty()) {
        return refuseValue(mFieldOfView,
            QStringLiteral("WIDTHxHEIGHT in micrometres, such as %1").arg(Tools::fieldOfViewText(mOptions.device.fov)));
    }
    mOptions.device.fov = size;
    mOptions.choosesFieldOfView = true;
    return true;
}

bool CommandLine::readNumber(const QCommandLineOption &option, int most, int *number)
{
    if (!mParser.isSet(option))
        return true;
    bool ok = false;
    *number = mParser.value(option).toInt(&ok);
    return (ok && *number >= 1 && *number <= most)
        || refuseValue(option, QStringLiteral("a whole number from 1 to %1").arg(most));
}

} // namespace RecordsTool
