// tarpo-cli: the cameras of every transport layer from the command line, over the same
// platform layer as the viewer.

#include "cliapplication.h"

#include "tarpo/tlfactory.h"

#include <QCoreApplication>

#include <cstdlib>
#include <iostream>

namespace {

// Library chatter (debug lines of the grab loop, warnings of worker threads) stays off the
// terminal unless TARPO_CLI_VERBOSE is set; results and errors are the command's own output.
void messageHandler(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg || qEnvironmentVariableIsSet("TARPO_CLI_VERBOSE"))
        std::cerr << message.toLocal8Bit().constData() << std::endl;
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(messageHandler);
    // The camera emulator builds on Qt; give it its application object.
    QCoreApplication application(argc, argv);
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    const std::vector<std::string> args(argv + 1, argv + argc);
    return CliApplication().run(args);
}
