#include "tarpo/featurepersistence.h"

#include "genapi/genapi.h"
#include "genapi/genicamexception.h"
#include "genapi/selectorset.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <vector>

namespace Tarpo {

namespace {

const char* const kMagic = "# Tarpo Feature Stream";
// Integer selectors can span large ranges; a feature is saved for this many values at most.
const int kMaxSelectorCombinations = 256;
const int kMaxLoadPasses = 8;

bool isValueInterface(GenApi::EInterfaceType type)
{
    return type == GenApi::intfIInteger || type == GenApi::intfIFloat ||
           type == GenApi::intfIEnumeration || type == GenApi::intfIBoolean ||
           type == GenApi::intfIString;
}

std::string escape(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string unescape(const std::string& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char next = text[++i];
        out += next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
    }
    return out;
}

// The value as the file writes it; empty with `ok` false for a node it cannot read.
std::string valueText(GenApi::INode* node, bool& ok)
{
    ok = true;
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node))
        return std::to_string(integer->GetValue());
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::IEnumEntry* entry = enumeration->GetCurrentEntry();
        if (entry)
            return entry->GetSymbolic().c_str();
        ok = false;
        return std::string();
    }
    if (auto* floating = dynamic_cast<GenApi::IFloat*>(node)) {
        char text[64];
        std::snprintf(text, sizeof(text), "%.17g", floating->GetValue());
        return text;
    }
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node))
        return boolean->GetValue() ? "1" : "0";
    if (auto* string = dynamic_cast<GenApi::IString*>(node))
        return escape(string->GetValue().c_str());
    ok = false;
    return std::string();
}

// Every feature reachable from the root category, in document order, then the features no
// category lists.
std::vector<GenApi::INode*> featuresInDocumentOrder(GenApi::INodeMap* map)
{
    std::vector<GenApi::INode*> order;
    std::set<GenApi::INode*> seen;
    std::vector<GenApi::INode*> stack;
    if (GenApi::INode* root = map->GetNode("Root"))
        stack.push_back(root);
    while (!stack.empty()) {
        GenApi::INode* node = stack.back();
        stack.pop_back();
        if (!seen.insert(node).second)
            continue;
        if (auto* category = dynamic_cast<GenApi::ICategory*>(node)) {
            GenApi::FeatureList_t features;
            category->GetFeatures(features);
            for (auto it = features.rbegin(); it != features.rend(); ++it)
                if (GenApi::INode* child = dynamic_cast<GenApi::INode*>(*it))
                    stack.push_back(child);
        } else {
            order.push_back(node);
        }
    }
    GenApi::NodeList_t nodes;
    map->GetNodes(nodes);
    for (GenApi::INode* node : nodes)
        if (node->IsFeature() && seen.insert(node).second &&
            !dynamic_cast<GenApi::ICategory*>(node))
            order.push_back(node);
    return order;
}

// The features among `saved` whose value `feature` depends on, through any nodes in between.
std::set<GenApi::INode*> featureDependencies(GenApi::INode* feature,
                                             const std::set<GenApi::INode*>& saved)
{
    std::set<GenApi::INode*> result;
    std::set<GenApi::INode*> visited{feature};
    std::vector<GenApi::INode*> stack{feature};
    while (!stack.empty()) {
        GenApi::INode* node = stack.back();
        stack.pop_back();
        GenApi::NodeList_t children;
        node->GetChildren(children);
        for (GenApi::INode* child : children) {
            if (!visited.insert(child).second)
                continue;
            if (saved.count(child)) {
                result.insert(child);
                continue; // its own dependencies come before it in turn
            }
            stack.push_back(child);
        }
    }
    return result;
}

// Dependencies first; among the free ones, document order; a cycle is broken at its feature
// that comes first in the document.
std::vector<GenApi::INode*> dependencyOrder(const std::vector<GenApi::INode*>& features)
{
    const std::set<GenApi::INode*> saved(features.begin(), features.end());
    std::map<GenApi::INode*, size_t> position;
    for (size_t i = 0; i < features.size(); ++i)
        position[features[i]] = i;
    std::map<GenApi::INode*, std::set<GenApi::INode*>> pending;
    for (GenApi::INode* feature : features)
        pending[feature] = featureDependencies(feature, saved);
    std::vector<GenApi::INode*> order;
    std::set<GenApi::INode*> placed;
    while (order.size() < features.size()) {
        GenApi::INode* next = nullptr;
        for (GenApi::INode* feature : features) {
            if (placed.count(feature))
                continue;
            const std::set<GenApi::INode*>& deps = pending[feature];
            const bool free = std::all_of(deps.begin(), deps.end(), [&](GenApi::INode* d) {
                return placed.count(d) || d == feature;
            });
            if (free) {
                next = feature;
                break;
            }
        }
        if (!next) {
            for (GenApi::INode* feature : features)
                if (!placed.count(feature) && (!next || position[feature] < position[next]))
                    next = feature;
        }
        placed.insert(next);
        order.push_back(next);
    }
    return order;
}

class Writer
{
public:
    explicit Writer(std::ostringstream& out) : m_out(out) {}
    void line(GenApi::INode* node)
    {
        if (!GenApi::IsReadable(node))
            return;
        bool ok = false;
        std::string value;
        try {
            value = valueText(node, ok);
        } catch (const GenICam::GenericException&) {
            ok = false;
        }
        if (ok)
            m_out << node->GetName().c_str() << '\t' << value << '\n';
    }

private:
    std::ostringstream& m_out;
};

std::string featureText(GenApi::INodeMap* map, const char* name)
{
    GenApi::CStringPtr string = map->GetNode(name);
    return string && GenApi::IsReadable(string) ? std::string(string->GetValue().c_str())
                                                : std::string();
}

struct Line
{
    int number;
    std::string name;
    std::string value;
};

// Writes one line's value; an empty result means it was written.
std::string apply(GenApi::INodeMap* map, const Line& line, bool validate)
{
    GenApi::INode* node = map->GetNode(line.name.c_str());
    if (!node)
        return "no such feature";
    if (!GenApi::IsWritable(node))
        return "not writable now";
    try {
        if (auto* integer = dynamic_cast<GenApi::IInteger*>(node)) {
            char* end = nullptr;
            errno = 0;
            const long long value = std::strtoll(line.value.c_str(), &end, 0);
            if (line.value.empty() || *end != '\0' || errno == ERANGE)
                return "'" + line.value + "' is not an integer";
            integer->SetValue(value, validate);
        } else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
            enumeration->FromString(line.value.c_str(), validate);
        } else if (auto* floating = dynamic_cast<GenApi::IFloat*>(node)) {
            char* end = nullptr;
            errno = 0;
            const double value = std::strtod(line.value.c_str(), &end);
            if (line.value.empty() || *end != '\0' || errno == ERANGE)
                return "'" + line.value + "' is not a number";
            floating->SetValue(value, validate);
        } else if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node)) {
            if (line.value != "0" && line.value != "1" && line.value != "true" &&
                line.value != "false")
                return "'" + line.value + "' is not a boolean";
            boolean->SetValue(line.value == "1" || line.value == "true", validate);
        } else if (auto* string = dynamic_cast<GenApi::IString*>(node)) {
            string->SetValue(unescape(line.value).c_str(), validate);
        } else {
            return "not a value feature";
        }
    } catch (const GenICam::GenericException& e) {
        return e.GetDescription();
    }
    return std::string();
}

} // namespace

std::string CFeaturePersistence::SaveToString(GenApi::INodeMap* pNodeMap)
{
    if (!pNodeMap)
        throw LOGICAL_ERROR_EXCEPTION("No node map to save the features of");
    GenApi::AutoLock lock(pNodeMap->GetLock());
    std::ostringstream out;
    out << kMagic << "\n# Version\t" << kFormatVersion << "\n# Model\t"
        << escape(featureText(pNodeMap, "DeviceModelName")) << "\n# Vendor\t"
        << escape(featureText(pNodeMap, "DeviceVendorName")) << "\n";

    std::vector<GenApi::INode*> features;
    for (GenApi::INode* node : featuresInDocumentOrder(pNodeMap))
        if (node->IsStreamable() && isValueInterface(node->GetPrincipalInterfaceType()))
            features.push_back(node);
    Writer writer(out);
    for (GenApi::INode* feature : dependencyOrder(features)) {
        GenApi::CSelectorSet selectors(dynamic_cast<GenApi::IBase*>(feature));
        if (selectors.IsEmpty()) {
            if (GenApi::IsWritable(feature))
                writer.line(feature);
            continue;
        }
        GenApi::FeatureList_t list;
        selectors.GetSelectorList(list);
        std::vector<GenApi::INode*> farthestFirst;
        for (auto it = list.rbegin(); it != list.rend(); ++it)
            if (GenApi::INode* selector = dynamic_cast<GenApi::INode*>(*it))
                farthestFirst.push_back(selector);
        int combinations = 0;
        if (selectors.SetFirst()) {
            do {
                if (!GenApi::IsWritable(feature))
                    continue;
                for (GenApi::INode* selector : farthestFirst)
                    writer.line(selector);
                writer.line(feature);
            } while (++combinations < kMaxSelectorCombinations && selectors.SetNext());
        }
        selectors.Restore();
        for (GenApi::INode* selector : farthestFirst)
            writer.line(selector);
    }
    return out.str();
}

void CFeaturePersistence::Save(const GenICam::gcstring& fileName, GenApi::INodeMap* pNodeMap)
{
    const std::string text = SaveToString(pNodeMap);
    QSaveFile file(QString::fromUtf8(fileName.c_str()));
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), qint64(text.size())) != qint64(text.size()) || !file.commit())
        throw RUNTIME_EXCEPTION("Cannot write the feature file '%s': %s", fileName.c_str(),
                                file.errorString().toUtf8().constData());
}

void CFeaturePersistence::Load(const GenICam::gcstring& fileName, GenApi::INodeMap* pNodeMap,
                               bool validate)
{
    QFile file(QString::fromUtf8(fileName.c_str()));
    if (!file.open(QIODevice::ReadOnly))
        throw RUNTIME_EXCEPTION("Cannot read the feature file '%s': %s", fileName.c_str(),
                                file.errorString().toUtf8().constData());
    const QByteArray text = file.readAll();
    LoadFromString(std::string(text.constData(), size_t(text.size())), pNodeMap, validate);
}

void CFeaturePersistence::LoadFromString(const std::string& text, GenApi::INodeMap* pNodeMap,
                                         bool validate)
{
    if (!pNodeMap)
        throw LOGICAL_ERROR_EXCEPTION("No node map to load the features into");
    std::vector<std::string> rows;
    std::istringstream in(text);
    for (std::string row; std::getline(in, row);) {
        if (!row.empty() && row.back() == '\r')
            row.pop_back();
        rows.push_back(row);
    }
    if (rows.empty() || rows[0] != kMagic)
        throw RUNTIME_EXCEPTION("Not a feature file: the first line is not '%s'", kMagic);
    std::map<std::string, std::string> header;
    std::vector<Line> lines;
    for (size_t i = 1; i < rows.size(); ++i) {
        const std::string& row = rows[i];
        if (row.empty())
            continue;
        const size_t tab = row.find('\t');
        if (row[0] == '#') {
            if (lines.empty() && tab != std::string::npos && row.size() > 2)
                header[row.substr(2, tab - 2)] = unescape(row.substr(tab + 1));
            continue;
        }
        lines.push_back({int(i + 1), tab == std::string::npos ? row : row.substr(0, tab),
                         tab == std::string::npos ? std::string() : row.substr(tab + 1)});
    }
    const auto version = header.find("Version");
    if (version == header.end() || version->second != std::to_string(kFormatVersion))
        throw RUNTIME_EXCEPTION("Feature file of format version '%s'; this viewer reads "
                                "version %d",
                                version == header.end() ? "none" : version->second.c_str(),
                                kFormatVersion);

    GenApi::AutoLock lock(pNodeMap->GetLock());
    struct Failure
    {
        Line line;
        std::string reason;
        std::vector<Line> context; // the selector lines in force when the line came
    };
    std::vector<Failure> failures;
    std::map<std::string, Line> selectorValues; // the newest line of each selector
    for (const Line& line : lines) {
        const std::string reason = apply(pNodeMap, line, validate);
        GenApi::INode* node = pNodeMap->GetNode(line.name.c_str());
        if (node && node->IsSelector())
            selectorValues[line.name] = line;
        if (reason.empty())
            continue;
        Failure failure{line, reason, {}};
        if (node) {
            GenApi::CSelectorSet selectors(dynamic_cast<GenApi::IBase*>(node));
            GenApi::FeatureList_t list;
            selectors.GetSelectorList(list);
            for (auto it = list.rbegin(); it != list.rend(); ++it) {
                const auto value =
                    selectorValues.find(dynamic_cast<GenApi::INode*>(*it)->GetName().c_str());
                if (value != selectorValues.end())
                    failure.context.push_back(value->second);
            }
        }
        failures.push_back(failure);
    }
    // A value may fit only once a later line made room for it: try again while that helps.
    for (int pass = 0; pass < kMaxLoadPasses && !failures.empty(); ++pass) {
        const size_t before = failures.size();
        for (auto it = failures.begin(); it != failures.end();) {
            for (const Line& selector : it->context)
                apply(pNodeMap, selector, validate);
            const std::string reason = apply(pNodeMap, it->line, validate);
            if (reason.empty()) {
                it = failures.erase(it);
            } else {
                it->reason = reason;
                ++it;
            }
        }
        if (failures.size() == before)
            break;
    }
    for (const auto& selector : selectorValues)
        apply(pNodeMap, selector.second, validate);
    if (failures.empty())
        return;
    std::string report = std::to_string(failures.size()) + " of " + std::to_string(lines.size()) +
                         " features could not be loaded:";
    const std::string model = featureText(pNodeMap, "DeviceModelName");
    const auto savedModel = header.find("Model");
    if (savedModel != header.end() && !model.empty() && savedModel->second != model)
        report += " (the file was saved from a '" + savedModel->second + "', this camera is a '" +
                  model + "')";
    for (const Failure& failure : failures)
        report += "\nline " + std::to_string(failure.line.number) + ": " + failure.line.name +
                  ": " + failure.reason;
    throw RUNTIME_EXCEPTION("%s", report.c_str());
}

} // namespace Tarpo
