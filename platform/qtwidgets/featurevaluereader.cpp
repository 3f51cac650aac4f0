#include "qtwidgets/featurevaluereader.h"

#include "genapi/genapi.h"
#include "qtwidgets/nodetext.h"
#include "tarpo/threadpriority.h"

#include <QMetaObject>

FeatureValueReader::FeatureValueReader(QObject* receiver)
    : m_receiver(receiver), m_thread([this] { run(); })
{
}

FeatureValueReader::~FeatureValueReader()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
        m_queue.clear();
    }
    m_wake.notify_all();
    m_thread.join();
}

void FeatureValueReader::request(GenApi::INode* node, bool utf8)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_queued.insert(node).second)
            return;
        m_queue.emplace_back(node, utf8);
    }
    m_wake.notify_one();
}

void FeatureValueReader::clear()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_generation;
    m_queue.clear();
    m_queued.clear();
    m_results.clear();
    m_idle.wait(lock, [this] { return !m_busy; });
}

bool FeatureValueReader::isIdle()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_busy && m_queue.empty() && m_results.empty();
}

std::vector<FeatureValueReader::Result> FeatureValueReader::takeResults()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Result> results;
    results.swap(m_results);
    return results;
}

int FeatureValueReader::readCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_readCount;
}

void FeatureValueReader::run()
{
    Tarpo::SetCurrentThreadName("FeatureReader");
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || !m_queue.empty(); });
        if (m_stop)
            return;
        const auto [node, utf8] = m_queue.front();
        m_queue.pop_front();
        m_queued.erase(node);
        const unsigned generation = m_generation;
        m_busy = true;
        lock.unlock();

        Result result;
        result.node = node;
        try {
            result.access = node->GetAccessMode();
            if (GenApi::IsReadable(result.access))
                result.value = NodeText::displayValue(node, utf8);
        } catch (const GenICam::GenericException& e) {
            result.error = QString::fromUtf8(e.GetDescription());
        } catch (const std::exception& e) {
            result.error = QString::fromUtf8(e.what());
        }

        lock.lock();
        m_busy = false;
        ++m_readCount;
        bool tell = false;
        if (generation == m_generation) {
            tell = m_results.empty();
            m_results.push_back(std::move(result));
        }
        m_idle.notify_all();
        if (tell) {
            lock.unlock();
            // reader thread -> GUI thread, queued: the receiver takes the results under m_mutex
            QMetaObject::invokeMethod(m_receiver, "takeValues", Qt::QueuedConnection);
            lock.lock();
        }
    }
}
