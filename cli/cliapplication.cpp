#include "cliapplication.h"

#include "addipcommand.h"
#include "featurescommand.h"
#include "getcommand.h"
#include "grabcommand.h"
#include "listcommand.h"
#include "recordcommand.h"
#include "setcommand.h"
#include "usageerror.h"

#include "genapi/genicamexception.h"

#include <algorithm>
#include <iostream>

namespace {

const char* const programName = "tarpo-cli";

bool isHelp(const std::string& arg)
{
    return arg == "--help" || arg == "-h";
}

} // namespace

CliApplication::CliApplication()
{
    m_commands.push_back(std::make_unique<ListCommand>());
    m_commands.push_back(std::make_unique<FeaturesCommand>());
    m_commands.push_back(std::make_unique<GetCommand>());
    m_commands.push_back(std::make_unique<SetCommand>());
    m_commands.push_back(std::make_unique<AddIpCommand>());
    m_commands.push_back(std::make_unique<GrabCommand>());
    m_commands.push_back(std::make_unique<RecordCommand>());
}

CliCommand* CliApplication::command(const std::string& name) const
{
    const auto it = std::find_if(m_commands.begin(), m_commands.end(),
                                 [&name](const auto& command) { return name == command->name(); });
    return it == m_commands.end() ? nullptr : it->get();
}

void CliApplication::printHelp(std::ostream& out) const
{
    out << "Usage: " << programName << " COMMAND [OPTIONS]\n"
        << "The cameras of every transport layer, from the command line. DEVICE is a camera's\n"
        << "full name, serial number or friendly name; -m picks the camera's own features\n"
        << "(device, the default), its transport layer (tl) or its stream parameters (stream).\n\n"
        << "Commands:\n";
    for (const auto& command : m_commands)
        out << "  " << command->synopsis() << "\n      " << command->summary() << '\n';
    out << "\nOptions:\n  --help     this text\n  --version  the program's version\n"
        << "\nExit status: 0 success, 1 failure, 2 usage error.\n";
}

int CliApplication::run(const std::vector<std::string>& args)
{
    if (args.empty()) {
        std::cerr << programName << ": no command given (see " << programName << " --help)\n";
        return 2;
    }
    const std::string& first = args.front();
    if (isHelp(first) || first == "help") {
        printHelp(std::cout);
        return 0;
    }
    if (first == "--version") {
        std::cout << programName << ' ' << TARPO_VERSION << '\n';
        return 0;
    }
    CliCommand* selected = command(first);
    if (!selected) {
        std::cerr << programName << ": unknown command '" << first << "' (see " << programName
                  << " --help)\n";
        return 2;
    }
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (std::any_of(rest.begin(), rest.end(), isHelp)) {
        std::cout << "Usage: " << programName << ' ' << selected->synopsis() << '\n'
                  << selected->summary() << '\n';
        return 0;
    }

    try {
        return selected->run(rest, std::cout);
    } catch (const UsageError& e) {
        std::cerr << programName << ": " << e.what() << " (usage: " << programName << ' '
                  << selected->synopsis() << ")\n";
        return 2;
    } catch (const GenICam::GenericException& e) {
        std::cerr << programName << ": " << e.GetDescription() << '\n';
    } catch (const std::exception& e) {
        std::cerr << programName << ": " << e.what() << '\n';
    } catch (...) {
        std::cerr << programName << ": " << selected->name() << " failed\n";
    }
    return 1;
}
