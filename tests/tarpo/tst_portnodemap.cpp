// labels: sanitize
#include "tarpo/portnodemap.h"

#include "genapi/pointer.h"

#include <QtTest>

using namespace GenApi;
using Tarpo::CPortNodeMap;

// Features over in-process registers: what the stream-grabber and transport-layer maps are made
// of. Each value must reach its C++ function and come back unchanged, through Aravis' GenICam
// engine and the GenApi facade.
class tst_PortNodeMap : public QObject
{
    Q_OBJECT

private:
    int64_t m_integer = 42;
    int64_t m_negative = -7;
    bool m_boolean = false;
    double m_float = 0.25;
    int64_t m_enumeration = 2;
    int64_t m_locked = 0;
    int64_t m_guarded = 5;
    int m_executions = 0;
    int64_t m_readOnly = 1234;
    std::unique_ptr<CPortNodeMap> m_map;

    INode* node(const char* name) const { return m_map->nodeMap()->GetNode(name); }

private slots:
    void initTestCase()
    {
        m_map = std::make_unique<CPortNodeMap>("TstPortNodeMap", "test map");
        m_map->beginCategory("Values", "Values", "Plain values & <escaped> text");
        m_map->addInteger(
            {"Integer", "An Integer", "a signed value"}, {-1000, 1000, 1, "ms"},
            [this] { return m_integer; }, [this](int64_t v) { m_integer = v; });
        m_map->addInteger(
            {"Negative", "", ""}, {INT64_MIN, INT64_MAX, 1}, [this] { return m_negative; },
            [this](int64_t v) { m_negative = v; });
        m_map->addBoolean(
            {"Boolean", "", ""}, [this] { return m_boolean; }, [this](bool v) { m_boolean = v; });
        m_map->addFloat(
            {"Float", "", ""}, 0.0, 2.0, "", [this] { return m_float; },
            [this](double v) { m_float = v; });
        m_map->addEnumeration(
            {"Enumeration", "", ""}, {{"One", 1}, {"Two", 2}, {"Five", 5}},
            [this] { return m_enumeration; }, [this](int64_t v) { m_enumeration = v; });
        m_map->addInteger({"ReadOnly", "", ""}, {0, 1 << 20, 1}, [this] { return m_readOnly; });
        m_map->beginCategory("Control", "Control", "");
        m_map->addInteger(
            {"Locked", "", "", Expert}, {0, 1, 1}, [this] { return m_locked; },
            [this](int64_t v) { m_locked = v; });
        m_map->addInteger(
            {"Guarded", "", "", Beginner, "Locked"}, {0, 100, 1}, [this] { return m_guarded; },
            [this](int64_t v) { m_guarded = v; });
        m_map->addCommand({"Execute", "", ""}, [this] { ++m_executions; });
        m_map->build();
    }

    void valuesTravelBothWays_data()
    {
        QTest::addColumn<QString>("feature");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("read");
        QTest::newRow("integer") << "Integer"
                                 << "-999"
                                 << "-999";
        QTest::newRow("integer-64-bit-negative") << "Negative"
                                                 << "-9000000000"
                                                 << "-9000000000";
        QTest::newRow("boolean-on") << "Boolean"
                                    << "1"
                                    << "1";
        QTest::newRow("float-fraction") << "Float"
                                        << "1.5"
                                        << "1.5";
        QTest::newRow("enumeration-by-name") << "Enumeration"
                                             << "Five"
                                             << "Five";
    }

    void valuesTravelBothWays()
    {
        QFETCH(QString, feature);
        QFETCH(QString, written);
        QFETCH(QString, read);
        CValuePtr value(node(feature.toLatin1()));
        QVERIFY(value);
        QCOMPARE(value->GetAccessMode(), RW);
        value->FromString(written.toStdString());
        QCOMPARE(QString::fromStdString(value->ToString()), read);
    }

    void readsWhatTheFunctionsHold()
    {
        m_integer = 17;
        m_enumeration = 1;
        QCOMPARE(CIntegerPtr(node("Integer"))->GetValue(), int64_t(17));
        QCOMPARE(QString::fromStdString(CEnumerationPtr(node("Enumeration"))->ToString()),
                 QString("One"));
    }

    void describesFeatures()
    {
        CIntegerPtr integer(node("Integer"));
        QCOMPARE(QString::fromStdString(integer->GetDisplayName()), QString("An Integer"));
        QCOMPARE(QString::fromStdString(integer->GetUnit()), QString("ms"));
        QCOMPARE(integer->GetMin(), int64_t(-1000));
        QCOMPARE(node("Locked")->GetVisibility(), Expert);
        FeatureList_t features;
        CCategoryPtr(node("Values"))->GetFeatures(features);
        QCOMPARE(int(features.size()), 6);
    }

    void refusesWhatItMayNot_data()
    {
        QTest::addColumn<QString>("feature");
        QTest::addColumn<QString>("value");
        QTest::newRow("read-only") << "ReadOnly"
                                   << "1";
        QTest::newRow("above-maximum") << "Integer"
                                       << "1001";
        QTest::newRow("unknown-enum-entry") << "Enumeration"
                                            << "Three";
        QTest::newRow("locked") << "Guarded"
                                << "6";
    }

    void refusesWhatItMayNot()
    {
        QFETCH(QString, feature);
        QFETCH(QString, value);
        m_locked = 1;
        const int64_t before = m_guarded;
        QVERIFY_EXCEPTION_THROWN(
            CValuePtr(node(feature.toLatin1()))->FromString(value.toStdString()),
            GenICam::GenericException);
        QCOMPARE(m_guarded, before);
        m_locked = 0;
    }

    void unlockedFeatureWrites()
    {
        m_locked = 0;
        CIntegerPtr(node("Guarded"))->SetValue(9);
        QCOMPARE(m_guarded, int64_t(9));
    }

    void commandRunsOncePerExecute()
    {
        CCommandPtr command(node("Execute"));
        QVERIFY(command);
        const int before = m_executions;
        command->Execute();
        QCOMPARE(m_executions, before + 1);
        QVERIFY(command->IsDone());
    }

    void portRefusesStrayAccess_data()
    {
        QTest::addColumn<qint64>("address");
        QTest::addColumn<qint64>("length");
        QTest::newRow("misaligned") << qint64(4) << qint64(8);
        QTest::newRow("short") << qint64(0) << qint64(4);
        QTest::newRow("beyond-last-register") << qint64(8 * 1000) << qint64(8);
        QTest::newRow("negative") << qint64(-8) << qint64(8);
    }

    void portRefusesStrayAccess()
    {
        QFETCH(qint64, address);
        QFETCH(qint64, length);
        char buffer[8] = {};
        QVERIFY_EXCEPTION_THROWN(m_map->Read(buffer, address, length), GenICam::GenericException);
        QVERIFY_EXCEPTION_THROWN(m_map->Write(buffer, address, length), GenICam::GenericException);
    }
};

QTEST_GUILESS_MAIN(tst_PortNodeMap)
#include "tst_portnodemap.moc"
