#pragma once
// Creates the in-house automation objects by ProgID. The library registers its
// defaults; a host or a test may register its own creator for any ProgID.

#include <functional>
#include <memory>

#include <QString>

#include "automation/runtime_error.h"
#include "host/automation_object.h"

namespace BrevView::host {

using ObjectCreator = std::function<std::shared_ptr<AutomationObject>()>;

class ObjectFactory {
public:
    // Replaces the creator of `progId` (an empty creator removes it).
    static void Register(const QString& progId, ObjectCreator creator);
    // Puts the library's default creators back for every ProgID.
    static void RestoreDefaults();
    // Error 429 for an unknown ProgID, a creator that fails or returns nothing.
    static std::shared_ptr<AutomationObject> Create(const QString& progId);

    // Create() and the interface the caller needs (error 13 when the object lacks it).
    template <class T>
    static std::shared_ptr<T> CreateAs(const QString& progId)
    {
        std::shared_ptr<AutomationObject> obj = Create(progId);
        std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(obj);
        if (!typed)
            automation::Raise(
                automation::ErrTypeMismatch, progId,
                QStringLiteral("The object created for \"%1\" does not offer the expected interface").arg(progId));
        return typed;
    }
};

}  // namespace BrevView::host
