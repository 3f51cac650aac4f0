// tarpo-cli: the cameras of every transport layer from the command line, over the same
// platform layer as the viewer.

#include "cliapplication.h"

#include "tarpo/tlfactory.h"

#include <QCoreApplication>

#include <iostream>

int main(int argc, char** argv)
{
    // The camera emulator builds on Qt; give it its application object.
    QCoreApplication application(argc, argv);
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    const std::vector<std::string> args(argv + 1, argv + argc);
    return CliApplication().run(args);
}
