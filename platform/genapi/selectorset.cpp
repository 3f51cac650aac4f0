#include "genapi/selectorset.h"

#include "genapi/pointer.h"

#include <algorithm>

namespace GenApi {

CSelectorSet::CSelectorSet(IBase* feature)
{
    auto* node = dynamic_cast<INode*>(feature);
    if (!node)
        return;
    // Direct selectors first, then the selectors of those selectors (nearest first).
    FeatureList_t pending;
    node->GetSelectingFeatures(pending);
    m_directCount = pending.size();
    for (size_t i = 0; i < pending.size(); ++i) {
        IValue* selector = pending[i];
        if (std::find(m_selectors.begin(), m_selectors.end(), selector) != m_selectors.end())
            continue;
        m_selectors.push_back(selector);
        FeatureList_t further;
        selector->GetSelectingFeatures(further);
        pending.insert(pending.end(), further.begin(), further.end());
    }
    m_directCount = std::min(m_directCount, m_selectors.size());
    for (IValue* selector : m_selectors) {
        m_saved.push_back(IsReadable(selector->GetAccessMode()) ? selector->ToString()
                                                                : gcstring());
    }
}

void CSelectorSet::GetSelectorList(FeatureList_t& selectors, bool incremental) const
{
    selectors.assign(m_selectors.begin(),
                     m_selectors.begin() + static_cast<long>(incremental ? m_directCount
                                                                         : m_selectors.size()));
}

namespace {

// The values a selector steps through: available enumeration entries, or integers from the
// minimum to the maximum in increments.
std::vector<gcstring> valuesOf(IValue* selector)
{
    std::vector<gcstring> values;
    if (CEnumerationPtr enumeration = CValuePtr(selector)) {
        StringList_t symbolics;
        enumeration->GetSymbolics(symbolics);
        values.assign(symbolics.begin(), symbolics.end());
    } else if (CIntegerPtr integer = CValuePtr(selector)) {
        const int64_t inc = std::max<int64_t>(1, integer->GetInc());
        for (int64_t v = integer->GetMin(); v <= integer->GetMax() && values.size() < 4096; v += inc)
            values.push_back(std::to_string(v));
    }
    return values;
}

} // namespace

bool CSelectorSet::SetFirst()
{
    if (m_selectors.empty())
        return false;
    for (IValue* selector : m_selectors) {
        const std::vector<gcstring> values = valuesOf(selector);
        if (values.empty() || !IsWritable(selector->GetAccessMode()))
            return false;
        selector->FromString(values.front());
    }
    return true;
}

bool CSelectorSet::SetNext()
{
    // Counts like an odometer: the nearest selector moves fastest.
    for (IValue* selector : m_selectors) {
        const std::vector<gcstring> values = valuesOf(selector);
        const auto it = std::find(values.begin(), values.end(), selector->ToString());
        if (it != values.end() && it + 1 != values.end()) {
            selector->FromString(*(it + 1));
            return true;
        }
        if (!values.empty())
            selector->FromString(values.front());
    }
    return false;
}

void CSelectorSet::Restore()
{
    // The farthest selector first, so that nearer ones are set within the right selection.
    for (size_t i = m_selectors.size(); i-- > 0;) {
        if (!m_saved[i].empty() && IsWritable(m_selectors[i]->GetAccessMode()))
            m_selectors[i]->FromString(m_saved[i]);
    }
}

} // namespace GenApi
