#pragma once
// One item that a file operation could not process: the node's name and the
// system's description of the failure. The main window lists them together under
// "Some items couldn't be processed", one line each.

#include <QString>
#include <QUuid>

namespace ringfold {

struct OperationError {
    QUuid id = QUuid::createUuid();
    QString nodeName;
    QString message;

    /// The alert's line for this error: name + ": " + message.
    QString alertLine() const { return nodeName + QStringLiteral(": ") + message; }
};

} // namespace ringfold
