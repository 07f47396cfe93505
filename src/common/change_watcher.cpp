#include <brevview/change_watcher.h>

#include <algorithm>

#include <QPointer>
#include <QTimer>

#include "automation/runtime_error.h"
#include "data/change_feed.h"
#include "host/automation_object.h"
#include "host/object_factory.h"

namespace BrevView {
namespace {

const QString kSource = QStringLiteral("BrevView.ChangeWatcher");
// The channel the IBO tables' triggers notify on a server, and the tables it speaks for.
const QString kChannel = QStringLiteral("brev_ibos_changed");
const QStringList kTables{QStringLiteral("IboMain"), QStringLiteral("IboArchive")};
constexpr int kFirstPauseMs = 250;
constexpr int kLongestPauseMs = 10000;

}  // namespace

// Coalescing: a change seen while the window of the last signal is open waits for the
// window's end; then one signal stands for all of them. A file is asked a few times per
// window, and once more as the window closes, so that a change made just before is in it.
class ChangeWatcherPrivate {
public:
    explicit ChangeWatcherPrivate(ChangeWatcher* owner) : q(owner)
    {
        window.setSingleShot(true);
        // A coarse timer may end the window early: the interval is a promise to the host.
        window.setTimerType(Qt::PreciseTimer);
        retry.setSingleShot(true);
        QObject::connect(&window, &QTimer::timeout, q, [this] { WindowClosed(); });
        QObject::connect(&retry, &QTimer::timeout, q, [this] { Reopen(); });
        QObject::connect(&poll, &QTimer::timeout, q, [this] {
            if (feed)
                feed->Check();
        });
    }

    int PollPeriod() const { return std::clamp(interval / 4, 50, 250); }

    // The signals go last, and each one after the first only while the watcher still lives:
    // a host's slot may delete it.
    void Opened()
    {
        pause = kFirstPauseMs;
        reported.reset();
        if (feed && feed->NeedsChecking())
            poll.start(PollPeriod());
        // What happened while the connection was down cannot be known: say it may have.
        const bool mayHaveChanged = missed;
        missed = false;
        const QPointer<ChangeWatcher> alive(q);
        SetActive(true);
        if (alive && mayHaveChanged)
            Changed();
    }

    void Lost(const RuntimeError& engineError)
    {
        const RuntimeError error(engineError.number(), kSource, engineError.description());
        poll.stop();
        missed = true;
        // One report per outage (or when the reason changes), not one per attempt.
        const bool report = !reported || reported->number() != error.number();
        reported = error;
        retry.start(pause);
        pause = std::min(pause * 2, kLongestPauseMs);
        const QPointer<ChangeWatcher> alive(q);
        if (report)
            Report(error);
        if (alive)
            SetActive(false);
    }

    void Reopen()
    {
        if (feed)
            feed->Open();
    }

    void Changed()
    {
        pending = true;
        if (!window.isActive())
            Flush();
    }

    void WindowClosed()
    {
        if (feed && feed->NeedsChecking())
            feed->Check();
        Flush();
    }

    void Flush()
    {
        if (!pending)
            return;
        pending = false;
        window.start(interval);
        // Last: a host's slot may delete the watcher.
        emit q->IbosChanged();
    }

    void Report(const RuntimeError& error)
    {
        lastError = error;
        emit q->ErrorRaised(error.number(), error.source(), error.description());
    }

    void SetActive(bool on)
    {
        if (active == on)
            return;
        active = on;
        emit q->activeChanged(on);
    }

    ChangeWatcher* q;
    int interval = 1000;
    bool active = false;
    bool pending = false;
    bool missed = false;
    int pause = kFirstPauseMs;
    std::unique_ptr<data::ChangeFeed> feed;
    QTimer window, retry, poll;
    std::optional<RuntimeError> lastError;
    std::optional<RuntimeError> reported;  // the current outage's reason
};

ChangeWatcher::ChangeWatcher(QObject* parent) : QObject(parent), d(std::make_unique<ChangeWatcherPrivate>(this))
{}

ChangeWatcher::~ChangeWatcher()
{
    d->feed.reset();
}

int ChangeWatcher::interval() const
{
    return d->interval;
}

void ChangeWatcher::setInterval(int msec)
{
    msec = std::max(msec, 0);
    if (msec == d->interval)
        return;
    d->interval = msec;
    if (d->poll.isActive())
        d->poll.start(d->PollPeriod());
    emit intervalChanged(msec);
}

bool ChangeWatcher::isActive() const
{
    return d->active;
}

std::optional<RuntimeError> ChangeWatcher::lastError() const
{
    return d->lastError;
}

bool ChangeWatcher::start()
{
    if (d->feed)
        return d->active || !d->lastError;  // started already
    d->lastError.reset();
    d->reported.reset();
    d->missed = false;
    d->pause = kFirstPauseMs;
    QString path, user, password;
    try {
        const std::shared_ptr<host::IDatabaseSettings> settings =
            host::ObjectFactory::CreateAs<host::IDatabaseSettings>(QString::fromLatin1(host::kProgIdDatabase));
        if (!settings)
            automation::Raise(automation::ErrObjectNotSet, kSource);
        path = settings->DatabasePath();
        user = settings->UserName();
        password = settings->Password();
    } catch (const RuntimeError& e) {
        d->Report(RuntimeError(e.number(), kSource, e.description()));
        return false;
    } catch (const std::exception& e) {
        d->Report(RuntimeError(automation::ErrInternal, kSource, QString::fromUtf8(e.what())));
        return false;
    }
    data::ChangeFeed::Callbacks callbacks;
    callbacks.opened = [this] { d->Opened(); };
    callbacks.changed = [this] { d->Changed(); };
    callbacks.lost = [this](const RuntimeError& e) { d->Lost(e); };
    d->feed = data::ChangeFeed::Create(path, user, password, kChannel, kTables, std::move(callbacks));
    const QPointer<ChangeWatcher> alive(this);
    d->feed->Open();
    return alive && !d->lastError;
}

void ChangeWatcher::stop()
{
    d->feed.reset();
    d->window.stop();
    d->retry.stop();
    d->poll.stop();
    d->pending = false;
    d->missed = false;
    d->SetActive(false);
}

}  // namespace BrevView
