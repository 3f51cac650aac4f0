#pragma once

// The selectors of a feature, and iteration over every combination of their values.
// Thread: one instance per user; the nodes are thread-safe.

#include "genapi/interfaces.h"

namespace GenApi {

class CSelectorSet
{
public:
    explicit CSelectorSet(IBase* feature);
    bool IsEmpty() const { return m_selectors.empty(); }
    // The selectors of the feature; with `incremental`, those that select it directly only.
    void GetSelectorList(FeatureList_t& selectors, bool incremental = false) const;
    // Sets every enumeration or integer selector to its first value; false without selectors.
    bool SetFirst();
    // Steps to the next combination; false once every combination was visited.
    bool SetNext();
    // Puts every selector back to the value it had when the set was made.
    void Restore();

private:
    FeatureList_t m_selectors;       // direct and indirect, nearest first
    size_t m_directCount = 0;        // the first m_directCount select the feature directly
    std::vector<gcstring> m_saved;   // values at construction, to Restore()
};

} // namespace GenApi
