// labels: gui
#include "mainwindow/logwindow.h"

#include <QApplication>
#include <QClipboard>
#include <QSettings>
#include <QStandardPaths>
#include <QTreeView>
#include <QtTest>

#include <thread>

// The message log: ids and completion of earlier entries, the row limit, level texts, copying,
// and posting from other threads.
class tst_LogWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName("Morvex");
        QCoreApplication::setApplicationName("Tarpo Viewer Test");
        QSettings().clear();
    }

    void postingWithoutWindowDoesNothing()
    {
        QCOMPARE(LogWindow::postLogMessage(TarpoViewer::Information, "Camera", "Opening."), 0);
    }

    void levelTexts_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("accessible");
        QTest::newRow("debug") << 16 << "Debug"
                               << "Debug";
        QTest::newRow("information-32") << 32 << "Information"
                                        << "Info";
        QTest::newRow("information-64") << 64 << "Information"
                                        << "Info";
        QTest::newRow("warning") << 128 << "Warning"
                                 << "Warning";
        QTest::newRow("error") << 256 << "Error"
                               << "Error";
        QTest::newRow("critical") << 512 << "Critical"
                                  << "Critical";
        QTest::newRow("unknown-level") << 8 << "NONE"
                                       << "NONE";
    }

    void levelTexts()
    {
        QFETCH(int, level);
        QFETCH(QString, text);
        QFETCH(QString, accessible);
        LogWindow window("Log");
        window.onLogMessage(TarpoViewer::LogLevel(level), QDateTime::currentDateTime(), "src",
                            "msg", 1, 0);
        QStandardItem* item = window.model()->item(0, 0);
        QCOMPARE(item->text(), text);
        QCOMPARE(item->data(Qt::AccessibleDescriptionRole).toString(), accessible);
    }

    void idsCompleteEarlierEntries()
    {
        LogWindow window("Log");
        const int opening =
            LogWindow::postLogMessage(TarpoViewer::Information, "Cam 1", "Opening \"Cam 1\".");
        const int other = LogWindow::postLogMessage(TarpoViewer::Warning, "Cam 2", "Too warm.");
        QVERIFY(opening > 0);
        QCOMPARE(other, opening + 1);
        const int opened = LogWindow::postLogMessage(TarpoViewer::Information, "Cam 1",
                                                     "\"Cam 1\" has been opened.", opening);
        QCOMPARE(opened, other + 1);
        QTRY_COMPARE(window.model()->rowCount(), 2);
        QTRY_COMPARE(window.model()->item(window.model()->rowOfId(opening), 0)->rowCount(), 1);
        QStandardItem* entry = window.model()->item(window.model()->rowOfId(opening), 0);
        QCOMPARE(entry->child(0, 3)->text(), QString("\"Cam 1\" has been opened."));
        // An unknown earlier id makes a row of its own.
        window.onLogMessage(TarpoViewer::Information, QDateTime::currentDateTime(), "x", "y", 99,
                            12345);
        QCOMPARE(window.model()->rowCount(), 3);
    }

    void rowLimitDropsTheOldest()
    {
        LogWindow window("Log");
        QCOMPARE(window.maxLogMessages(), 200);
        const QDateTime start = QDateTime::currentDateTime();
        for (int i = 1; i <= 201; ++i)
            window.onLogMessage(TarpoViewer::Information, start.addMSecs(i), "src",
                                QString("message %1").arg(i), i, 0);
        QCOMPARE(window.model()->rowCount(), 200);
        QCOMPARE(window.model()->item(0, 3)->text(), QString("message 201")); // newest first
        QCOMPARE(window.model()->item(199, 3)->text(), QString("message 2"));
    }

    void copyAndClear()
    {
        LogWindow window("Log");
        const QDateTime t(QDate(2026, 11, 22), QTime(3, 4, 5, 67));
        window.onLogMessage(TarpoViewer::Warning, t, "Cam", "first", 1, 0);
        window.onLogMessage(TarpoViewer::Error, t.addSecs(1), "Cam", "second", 2, 0);
        window.onCopyAll();
        QCOMPARE(QApplication::clipboard()->text(),
                 QString("Type\tTime\tSource\tMessage\n"
                         "Error\t2026-11-22 03:04:06.067\tCam\tsecond\r\n"
                         "Warning\t2026-11-22 03:04:05.067\tCam\tfirst\r\n"));
        window.view()->selectionModel()->select(
            window.model()->index(1, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        window.onCopySelected();
        QCOMPARE(QApplication::clipboard()->text(),
                 QString("Type\tTime\tSource\tMessage\n"
                         "Warning\t2026-11-22 03:04:05.067\tCam\tfirst\r\n"));
        window.onClearSelected();
        QCOMPARE(window.model()->rowCount(), 1);
        window.onClearAll();
        QCOMPARE(window.model()->rowCount(), 0);
    }

    void postingFromManyThreads()
    {
        LogWindow window("Log");
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t] {
                for (int i = 0; i < 25; ++i)
                    LogWindow::postLogMessage(TarpoViewer::Debug, QString("thread %1").arg(t),
                                              QString::number(i));
            });
        for (auto& thread : threads)
            thread.join();
        QTRY_COMPARE(window.model()->rowCount(), 100);
        QSet<int> ids;
        for (int row = 0; row < 100; ++row)
            ids.insert(window.model()->item(row, 0)->data(LogMessageModel::IdRole).toInt());
        QCOMPARE(ids.size(), 100);
    }

    void settingsPersist()
    {
        QSettings().setValue("LogWindow/maxLogMessages", 3);
        {
            LogWindow window("Log");
            QCOMPARE(window.maxLogMessages(), 3);
            window.view()->setColumnWidth(2, 333);
        }
        LogWindow again("Log");
        QCOMPARE(again.view()->columnWidth(2), 333);
        QSettings().remove("LogWindow");
    }
};

QTEST_MAIN(tst_LogWindow)
#include "tst_logwindow.moc"
