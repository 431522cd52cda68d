// SPDX-License-Identifier: Apache-2.0
// Runs the steps of the start-up that are named on the command line, "core", "gui", "software", and prints what the
// process looks like afterwards. With "folder=NAME" there is an application folder of that name.
#include "Helpers/BaseDirHelper.h"
#include "OrvelApplication.h"

#include <QCoreApplication>
#include <QString>

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <unistd.h>

namespace {
// How often Xlib was prepared for threads, and the display at that time. Plain memory: Xlib itself can make such a call
// when it is loaded, before there are any objects.
int preparations = 0;
char displayAtPreparation[64] = "";

class Folder : public BaseDirHelper
{
public:
    explicit Folder(const char *name)
        : mName(QString::fromUtf8(name))
    {
    }
    QString applicationDirName() override { return mName; }

private:
    QString mName;
};
} // namespace

/// Stands before the function of Xlib and calls it.
extern "C" int XInitThreads();
extern "C" int XInitThreads()
{
    const char *const display = getenv("DISPLAY");
    ++preparations;
    std::snprintf(displayAtPreparation, sizeof displayAtPreparation, "%s", display ? display : "(none)");
    return reinterpret_cast<int (*)()>(dlsym(RTLD_NEXT, "XInitThreads"))();
}

int main(int argc, char *argv[])
{
    preparations = 0;
    displayAtPreparation[0] = '\0';
    std::unique_ptr<Folder> folder;
    for (int i = 1; i < argc; ++i) {
        const char *const step = argv[i];
        constexpr char folderStep[] = "folder=";
        if (std::strncmp(step, folderStep, std::strlen(folderStep)) == 0)
            folder = std::make_unique<Folder>(step + std::strlen(folderStep));
        else if (std::strcmp(step, "core") == 0)
            OrvelApplication::initCore();
        else if (std::strcmp(step, "gui") == 0)
            OrvelApplication::initGui();
        else if (std::strcmp(step, "software") == 0)
            OrvelApplication::enableSoftwareRendering();
        else
            return 1;
    }

    for (char **variable = environ; *variable; ++variable)
        std::printf("%s\n", *variable);
    std::printf("(attribute 20)=%d\n", int(QCoreApplication::testAttribute(Qt::ApplicationAttribute(20))));
    std::printf("(XInitThreads)=%d times, display %s\n", preparations, displayAtPreparation);
    return 0;
}
