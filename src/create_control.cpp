#include <brevview/brevview.h>

#include "automation/runtime_error.h"

namespace BrevView {

QWidget* CreateControl(const QString& progId, QWidget* parent)
{
    if (progId.compare(QLatin1String("BrevView.FlatView"), Qt::CaseInsensitive) == 0)
        return new FlatView(parent);
    if (progId.compare(QLatin1String("BrevView.PriorityView"), Qt::CaseInsensitive) == 0)
        return new PriorityView(parent);
    if (progId.compare(QLatin1String("BrevView.ForecastView"), Qt::CaseInsensitive) == 0)
        return new ForecastView(parent);
    automation::Raise(automation::ErrCantCreateObject, QStringLiteral("BrevView"),
                      QStringLiteral("Can't create object \"%1\"").arg(progId));
}

}  // namespace BrevView
