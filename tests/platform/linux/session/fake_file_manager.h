#pragma once

#include <QDBusContext>
#include <QObject>
#include <QStringList>

namespace korvel {

/// A desktop's file manager, of which only what it is asked to show is of interest.
class FakeFileManager : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

  public:
    QStringList shown;
    bool fails = false;

    // Its name is the protocol's. NOLINTNEXTLINE(readability-identifier-naming)
    Q_SLOT void ShowItems(const QStringList& uris, const QString& startupId) {
        shown += uris;
        shown += startupId;
        if (fails) {
            sendErrorReply(QDBusError::Failed);
        }
    }
};

} // namespace korvel
