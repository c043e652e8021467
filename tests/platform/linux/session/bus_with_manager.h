#pragma once

#include <functional>

#include <QDBusConnection>
#include <QDBusMetaType>
#include <QThread>
#include <gtest/gtest.h>

#include "platform/linux/session/fake_manager.h"
#include "platform/linux/session/private_bus.h"

namespace korvel {

/// A bus with, on another thread, a manager that can be put on it and taken off.
class BusWithManager : public testing::Test {
  protected:
    inline static const QString kName = QStringLiteral("org.freedesktop.systemd1");
    inline static const QString kPath = QStringLiteral("/org/freedesktop/systemd1");

    void SetUp() override {
        ASSERT_FALSE(bus_.address().isEmpty()) << "dbus-daemon could not be started";
        qDBusRegisterMetaType<UnitRecord>();
        qDBusRegisterMetaType<QList<UnitRecord>>();
        static int number = 0;
        suffix_ = QString::number(++number);
        connection_ = bus_.connect(QStringLiteral("program") + suffix_);
        ASSERT_TRUE(connection_.isConnected());
        manager_.moveToThread(&thread_);
        units_.moveToThread(&thread_);
        thread_.start();
    }

    void TearDown() override {
        manager_.answers = true;
        QThread* const here = QThread::currentThread();
        inManager([&] {
            const QString name = QStringLiteral("manager") + suffix_;
            QDBusConnection(name).unregisterObject(kPath, QDBusConnection::UnregisterTree);
            QDBusConnection::disconnectFromBus(name);
            manager_.moveToThread(here);
            units_.moveToThread(here);
        });
        thread_.quit();
        thread_.wait();
        QDBusConnection::disconnectFromBus(QStringLiteral("program") + suffix_);
    }

    void inManager(const std::function<void()>& work) {
        QMetaObject::invokeMethod(&manager_, work, Qt::BlockingQueuedConnection);
    }

    void startManager() { startManager(bus_); }

    /// Takes the manager from the bus that it is on, which may be gone.
    void startManager(const PrivateBus& bus) {
        inManager([&] {
            QDBusConnection::disconnectFromBus(QStringLiteral("manager") + suffix_);
            QDBusConnection own = bus.connect(QStringLiteral("manager") + suffix_);
            own.registerObject(kPath, &manager_,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals);
            own.registerVirtualObject(kPath + QStringLiteral("/unit"), &units_,
                                      QDBusConnection::SubPath);
            EXPECT_TRUE(own.registerService(kName));
        });
    }

    void stopManager() {
        inManager(
            [&] { QDBusConnection(QStringLiteral("manager") + suffix_).unregisterService(kName); });
    }

    PrivateBus bus_;
    QString suffix_;
    QDBusConnection connection_{QString()}; ///< the test's own
    FakeManager manager_;
    FakeUnits units_{manager_};
    QThread thread_;
};

} // namespace korvel
