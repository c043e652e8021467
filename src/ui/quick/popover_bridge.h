#pragma once

#include <vector>

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include "ui/quick/keyed_list_model.h"
#include "ui/quick/section_values.h"
#include "ui/quick/value_maker.h"

namespace korvel {

class ContentView;

/// Hands the views what they show, all of it finished, and takes what the user does to them: one
/// value for each section and a model for each list. A value that is the same as before is not
/// announced, so that nothing is painted anew for it.
class PopoverBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the popover")
    Q_PROPERTY(korvel::SpokenValue spoken READ spoken NOTIFY spokenChanged FINAL)
    Q_PROPERTY(korvel::BannerValue banner READ banner NOTIFY bannerChanged FINAL)
    Q_PROPERTY(korvel::HeaderValue header READ header NOTIFY headerChanged FINAL)
    Q_PROPERTY(korvel::KeyedListModel* breakdown READ breakdown CONSTANT FINAL)
    Q_PROPERTY(QString footnote READ footnote CONSTANT FINAL)
    Q_PROPERTY(korvel::KeyedListModel* status READ status CONSTANT FINAL)
    Q_PROPERTY(korvel::KeyedListModel* rows READ rows CONSTANT FINAL)
    Q_PROPERTY(korvel::SwapHoldersValue swapBlock READ swapBlock NOTIFY swapBlockChanged FINAL)
    Q_PROPERTY(korvel::KeyedListModel* swapHolders READ swapHolders CONSTANT FINAL)
    Q_PROPERTY(QString heaviestCaption READ heaviestCaption CONSTANT FINAL)
    Q_PROPERTY(korvel::KeyedListModel* heaviest READ heaviest CONSTANT FINAL)
    Q_PROPERTY(korvel::AwakeValue awake READ awake NOTIFY awakeChanged FINAL)
    Q_PROPERTY(korvel::UpdateValue update READ update NOTIFY updateChanged FINAL)
    Q_PROPERTY(korvel::FooterValue footer READ footer NOTIFY footerChanged FINAL)
    // Empty: there is no such line.
    Q_PROPERTY(QString reclaimResult READ reclaimResult NOTIFY reclaimResultChanged FINAL)

  public:
    /// `root`, which outlives the bridge, takes the actions.
    explicit PopoverBridge(ContentView& root, Words words, AwakeWords awakeWords = {});

    void setContent(const PopoverContent& content);
    /// Takes the line of the update alone.
    void setUpdate(const PopoverContent& content);

    Q_INVOKABLE void dismissWhatsNew();
    Q_INVOKABLE void toggleBreakdown();
    Q_INVOKABLE void findSwapHolders();
    Q_INVOKABLE void quitProcess(int pid);
    Q_INVOKABLE void quitSwapHolder(int pid);
    /// Takes the choice of that place in the menu.
    Q_INVOKABLE void enableAwake(int choice);
    Q_INVOKABLE void disableAwake();
    Q_INVOKABLE void pressUpdate();
    Q_INVOKABLE void pressReclaim();
    Q_INVOKABLE void dismissPreview();
    Q_INVOKABLE void terminate();

    SpokenValue spoken() const { return spoken_; }
    BannerValue banner() const { return banner_; }
    HeaderValue header() const { return header_; }
    KeyedListModel* breakdown() { return &breakdown_; } ///< of FactorValue
    QString footnote() const;
    KeyedListModel* status() { return &status_; } ///< of StatusValue
    KeyedListModel* rows() { return &rows_; }     ///< of MetricValue
    SwapHoldersValue swapBlock() const { return swapBlock_; }
    KeyedListModel* swapHolders() { return &swapHolders_; } ///< of ProcessValue
    QString heaviestCaption() const;
    KeyedListModel* heaviest() { return &heaviest_; } ///< of ProcessValue
    AwakeValue awake() const { return awake_; }
    UpdateValue update() const { return update_; }
    FooterValue footer() const { return footer_; }
    QString reclaimResult() const { return reclaimResult_; }

  Q_SIGNALS:
    void spokenChanged();
    void bannerChanged();
    void headerChanged();
    void swapBlockChanged();
    void awakeChanged();
    void updateChanged();
    void footerChanged();
    void reclaimResultChanged();

  private:
    template <typename Value>
    void set(Value& member, Value value, void (PopoverBridge::*changed)());
    template <typename Line, typename Key>
    void setList(KeyedListModel& list, const std::vector<Line>& lines, Key keyOf);

    ContentView& root_;
    ValueMaker values_;
    SpokenValue spoken_;
    BannerValue banner_;
    HeaderValue header_;
    SwapHoldersValue swapBlock_;
    AwakeValue awake_;
    UpdateValue update_;
    FooterValue footer_;
    QString reclaimResult_;
    std::vector<PopoverContent::KeepAwake::Choice> choices_; ///< of the menu, as shown
    KeyedListModel breakdown_;
    KeyedListModel status_;
    KeyedListModel rows_;
    KeyedListModel swapHolders_;
    KeyedListModel heaviest_;
};

} // namespace korvel
