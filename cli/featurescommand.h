#pragma once

// "tarpo-cli features -d DEVICE": the feature tree of a camera's node map, categories
// indented by two spaces per level, each feature as name, kind, access mode and value,
// tab-separated. Invisible features are left out.
// Thread: main thread only.

#include "clicommand.h"

namespace GenApi {
class INode;
}

class FeaturesCommand : public CliCommand
{
public:
    const char* name() const override { return "features"; }
    const char* synopsis() const override { return "features -d DEVICE [-m device|tl|stream]"; }
    const char* summary() const override
    {
        return "Prints the feature tree with each feature's type, access mode and value.";
    }
    int run(const std::vector<std::string>& args, std::ostream& out) override;

private:
    void print(GenApi::INode* node, int depth, std::ostream& out) const;
};
