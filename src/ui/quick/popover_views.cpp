#include "ui/quick/popover_views.h"

#include <cmath>
#include <functional>
#include <utility>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <QThreadPool>

#include "ui/content/content_view.h"
#include "ui/quick/register_views.h"

namespace korvel {

namespace {

/// Qt fills shapes of many edges on threads of its pool, and waits without end for one that cannot
/// be started when it is needed. So one is started here, and stays until the pool is let go.
void keepAThreadForPainting() {
    QThreadPool& pool = *QThreadPool::globalInstance();
    pool.setMaxThreadCount(1);
    pool.setExpiryTimeout(-1);
    pool.start([] {});
}

/// Tells when the pixels of its window's screen are other ones.
class ScaleWatch : public QQuickItem {
  public:
    ScaleWatch(QQuickItem* parent, std::function<void()> changed)
        : QQuickItem(parent), changed_(std::move(changed)) {}

  protected:
    void itemChange(ItemChange change, const ItemChangeData& data) override {
        QQuickItem::itemChange(change, data);
        if (change == ItemDevicePixelRatioHasChanged) {
            changed_();
        }
    }

  private:
    std::function<void()> changed_;
};

} // namespace

PopoverViews::PopoverViews(ContentView& root, Options options)
    : root_(root), options_(std::move(options)),
      observation_(root.observe([this] { contentWillChange(); })),
      style_(std::move(options_.appearance)) {
    unloading_.setSingleShot(true);
    unloading_.setInterval(options_.keptLoaded);
    connect(&unloading_, &QTimer::timeout, this, &PopoverViews::unload);
}

PopoverViews::~PopoverViews() = default;

bool PopoverViews::prepare() {
    unloading_.stop();
    style_.update();
    if (!view_ && !load()) {
        return false;
    }
    frame_.setAnimated(false);
    followScale();
    render();
    Q_EMIT frame_.layOut();
    frame_.setAnimated(true);
    fit();
    return true;
}

void PopoverViews::show() {
    shown_ = true;
    view_->show();
}

void PopoverViews::hide() {
    shown_ = false;
    if (view_) {
        view_->hide();
        view_->releaseResources();
        unloading_.start();
    }
}

void PopoverViews::drawNow() {
    if (!shown_) {
        return;
    }
    // A row that came or went would ask for another window, which takes turns of the run loop.
    bridge_->setUpdate(root_.content());
    Q_EMIT frame_.layOut();
    view_->update();
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(view_.get(), &request);
    // Some platforms send what was painted only when the event loop is about to wait.
    Q_EMIT QAbstractEventDispatcher::instance()->aboutToBlock();
}

QSize PopoverViews::size() const {
    return view_->rootObject()->size().toSize();
}

void PopoverViews::fit() {
    view_->resize(size());
}

bool PopoverViews::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_.get() && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && !frame_.menuShown()) {
        Q_EMIT escaped();
        return true;
    }
    return false;
}

bool PopoverViews::load() {
    if (options_.threadsAreToBeHad && !options_.threadsAreToBeHad()) {
        qWarning("The popover cannot be opened: no more threads can be started");
        return false;
    }
    keepAThreadForPainting();
    // Drawn by the processor: a window this small needs no graphics driver, and its memory.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    registerViews();
    bridge_ = std::make_unique<PopoverBridge>(root_, options_.words, options_.awakeWords);
    render(); // before the views ask for it
    view_ = std::make_unique<QQuickView>();
    style_.giveTo(*view_->engine());
    view_->setFlags(options_.flags);
    view_->setColor(Qt::transparent); // behind the panel's round corners
    view_->setTitle(QStringLiteral("Korvel"));
    view_->setResizeMode(QQuickView::SizeViewToRootObject);
    view_->setInitialProperties({{QStringLiteral("content"), QVariant::fromValue(bridge_.get())},
                                 {QStringLiteral("frame"), QVariant::fromValue(&frame_)}});
    followScale();
    view_->engine()->setProperty(ScreenScale::kEngineProperty, QVariant::fromValue(&screenScale_));
    view_->setSource(options_.source);
    if (view_->rootObject() == nullptr) { // the view has said what is wrong
        qWarning("The popover cannot be opened: its views cannot be loaded");
        unload();
        return false;
    }
    new ScaleWatch(view_->contentItem(), [this] { followScale(); }); // which the parent takes
    view_->installEventFilter(this);
    connect(view_.get(), &QWindow::widthChanged, this, &PopoverViews::drawAllAnew);
    connect(view_.get(), &QWindow::heightChanged, this, &PopoverViews::drawAllAnew);
    Q_EMIT loaded();
    return true;
}

/// A window of another size has another picture, in memory that holds the old one in rows of
/// another length. Qt draws all of it only where the size differs in the whole logical pixels that
/// it is rounded down to. With another clip above them, all nodes of the scene are new ones.
void PopoverViews::drawAllAnew() {
    if (scale() != std::floor(scale())) {
        view_->rootObject()->setClip(!view_->rootObject()->clip());
    }
}

void PopoverViews::followScale() {
    screenScale_.setPixelRatio(view_->effectiveDevicePixelRatio());
}

void PopoverViews::unload() {
    Q_EMIT unloading();
    view_.reset();
    bridge_.reset();
    QThreadPool::globalInstance()->waitForDone(); // and its thread ends
    frame_.setMenuShown(false);                   // which may have been open to the end
}

void PopoverViews::contentWillChange() {
    if (!shown_ || renderPending_) {
        return;
    }
    renderPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            renderPending_ = false;
            if (shown_) {
                render();
                Q_EMIT rendered();
            }
        },
        Qt::QueuedConnection);
}

void PopoverViews::render() {
    bridge_->setContent(root_.content());
}

} // namespace korvel
