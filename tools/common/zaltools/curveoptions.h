// The CURVE options of a client program, as given on its command line, turned into the keys to use.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <string>

#include "zal/transport/curvekeys.h"

namespace zaltools {

// Each key may come inline or from a key file, not both.
struct CurveOptions {
    QMap<QString, QString> values;  // by option name, as given

    // --curve-server-key, --curve-server-key-file, --curve-public-key, --curve-secret-key,
    // --curve-secret-key-file
    static const QStringList& names();

    bool any() const { return !values.isEmpty(); }

    // The server's public key and this client's pair. Throws CurveKeyError, whose text is shown
    // as a usage error, for anything unusable.
    void keys(std::string& server, zal::CurveKeys::Pair& client) const;

private:
    std::string key(const QString& inlineOption, const QString& fileOption, const char* what) const;
};

}  // namespace zaltools
