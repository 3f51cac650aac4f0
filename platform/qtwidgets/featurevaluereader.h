#pragma once

// Reads feature values and access modes on a thread of its own: on a GigE camera each read
// costs 0.2 to 2 ms and an enumeration many reads, and the GUI must never wait for them. Each
// node asked for is read once per request, newest requests last; the results are collected and
// the receiver is told, queued, to take them.
// Thread-safe: request(), clear() and takeResults() on the GUI thread; the reads on the
// reader's thread "FeatureReader".

#include "genapi/types.h"

#include <QObject>
#include <QString>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

namespace GenApi {
class INode;
}

class FeatureValueReader
{
public:
    struct Result
    {
        GenApi::INode* node = nullptr;
        GenApi::EAccessMode access = GenApi::_UndefinedAccesMode;
        QString value;
        QString error; // why the value could not be read
    };

    // `receiver`'s slot `takeValues()` is invoked, queued, when results are waiting.
    explicit FeatureValueReader(QObject* receiver);
    ~FeatureValueReader();

    // Asks for `node` to be read; a node already waiting is not asked for twice.
    void request(GenApi::INode* node, bool utf8);
    // Forgets every request and result and waits for the read under way: afterwards no node is
    // touched until the next request.
    void clear();
    std::vector<Result> takeResults();
    // Nodes read since construction.
    int readCount() const;
    // Nothing waiting, being read or to be taken.
    bool isIdle();

private:
    void run();

    QObject* const m_receiver;
    mutable std::mutex m_mutex; // guards every member below
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::deque<std::pair<GenApi::INode*, bool>> m_queue;
    std::unordered_set<GenApi::INode*> m_queued;
    std::vector<Result> m_results;
    bool m_busy = false;
    bool m_stop = false;
    unsigned m_generation = 0;
    int m_readCount = 0;
    std::thread m_thread; // last: starts after the members it uses exist
};
