#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include "ui/content/popover_content.h"
#include "ui/quick/awake_line.h"
#include "ui/quick/banner_card.h"
#include "ui/quick/footer_line.h"
#include "ui/quick/keyed_list_model.h"
#include "ui/quick/update_line.h"

namespace korvel {

class ContentView;

/// The last step before a text is shown or spoken: says it in the words of the desktop.
using Words = std::function<std::string(std::string)>;

/// Hands the views what they show, all of it finished, and takes what the user does to them. A
/// value that is the same as before is not announced, so that nothing is painted anew for it.
class PopoverBridge final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the popover")
    Q_PROPERTY(korvel::BannerCard banner READ banner NOTIFY bannerChanged FINAL)
    // The header. The score is a number for the dial's arc alone.
    Q_PROPERTY(int score READ score NOTIFY scoreChanged FINAL)
    Q_PROPERTY(QString scoreText READ scoreText NOTIFY scoreChanged FINAL)
    Q_PROPERTY(QString scoreColour READ scoreColour NOTIFY scoreColourChanged FINAL)
    Q_PROPERTY(QString verdict READ verdict NOTIFY verdictChanged FINAL)
    Q_PROPERTY(QString line READ line NOTIFY lineChanged FINAL)
    Q_PROPERTY(QString toggle READ toggle NOTIFY toggleChanged FINAL)
    Q_PROPERTY(bool breakdownShown READ breakdownShown NOTIFY breakdownShownChanged FINAL)
    // name, lost, barFraction, barColour, lostColour, detail
    Q_PROPERTY(korvel::KeyedListModel* breakdown READ breakdown CONSTANT FINAL)
    Q_PROPERTY(QString footnote READ footnote CONSTANT FINAL)
    // symbol, colour, words, textStyle
    Q_PROPERTY(korvel::KeyedListModel* status READ status CONSTANT FINAL)
    // label, percentText, barFraction, detail, colour, hasSpark, sparkColour, sparkValues,
    // holdsSwap: whether the block of the swap holders stands under the row
    Q_PROPERTY(korvel::KeyedListModel* rows READ rows CONSTANT FINAL)
    Q_PROPERTY(bool scanningSwap READ scanningSwap NOTIFY scanningSwapChanged FINAL)
    Q_PROPERTY(QString swapButton READ swapButton NOTIFY swapButtonChanged FINAL)
    Q_PROPERTY(QString swapNote READ swapNote NOTIFY swapNoteChanged FINAL)
    // The processes of both lists: pid, name, size, canQuit, tip
    Q_PROPERTY(korvel::KeyedListModel* swapHolders READ swapHolders CONSTANT FINAL)
    Q_PROPERTY(korvel::KeyedListModel* heaviest READ heaviest CONSTANT FINAL)
    Q_PROPERTY(QString heaviestCaption READ heaviestCaption CONSTANT FINAL)
    Q_PROPERTY(korvel::AwakeLine awake READ awake NOTIFY awakeChanged FINAL)
    Q_PROPERTY(korvel::UpdateLine update READ update NOTIFY updateChanged FINAL)
    Q_PROPERTY(korvel::FooterLine footer READ footer NOTIFY footerChanged FINAL)
    // Empty: there is no such line.
    Q_PROPERTY(QString reclaimResult READ reclaimResult NOTIFY reclaimResultChanged FINAL)

  public:
    /// `root`, which outlives the bridge, takes the actions.
    PopoverBridge(ContentView& root, Words words);

    void setContent(const PopoverContent& content);

    Q_INVOKABLE void dismissWhatsNew();
    Q_INVOKABLE void toggleBreakdown();
    Q_INVOKABLE void findSwapHolders();
    Q_INVOKABLE void quitProcess(int pid);
    /// Takes the choice of that place in the menu.
    Q_INVOKABLE void enableAwake(int choice);
    Q_INVOKABLE void disableAwake();
    Q_INVOKABLE void pressUpdate();
    Q_INVOKABLE void pressReclaim();
    Q_INVOKABLE void dismissPreview();
    Q_INVOKABLE void terminate();

    BannerCard banner() const { return banner_; }
    int score() const { return score_; }
    QString scoreText() const { return scoreText_; }
    QString scoreColour() const { return scoreColour_; }
    QString verdict() const { return verdict_; }
    QString line() const { return line_; }
    QString toggle() const { return toggle_; }
    bool breakdownShown() const { return breakdownShown_; }
    KeyedListModel* breakdown() { return &breakdown_; }
    QString footnote() const;
    KeyedListModel* status() { return &status_; }
    KeyedListModel* rows() { return &rows_; }
    bool scanningSwap() const { return scanningSwap_; }
    QString swapButton() const { return swapButton_; }
    QString swapNote() const { return swapNote_; }
    KeyedListModel* swapHolders() { return &swapHolders_; }
    KeyedListModel* heaviest() { return &heaviest_; }
    QString heaviestCaption() const;
    AwakeLine awake() const { return awake_; }
    UpdateLine update() const { return update_; }
    FooterLine footer() const { return footer_; }
    QString reclaimResult() const { return reclaimResult_; }

  Q_SIGNALS:
    void bannerChanged();
    void scoreChanged();
    void scoreColourChanged();
    void verdictChanged();
    void lineChanged();
    void toggleChanged();
    void breakdownShownChanged();
    void scanningSwapChanged();
    void swapButtonChanged();
    void swapNoteChanged();
    void awakeChanged();
    void updateChanged();
    void footerChanged();
    void reclaimResultChanged();

  private:
    /// A text of the program.
    QString text(const std::string& finished) const;
    void setBanner(const std::optional<PopoverContent::Banner>& banner);
    void setHeader(const PopoverContent::Header& header);
    void setBreakdown(const std::vector<PopoverContent::FactorLine>& lines);
    void setStatus(const std::vector<PopoverContent::StatusLine>& lines);
    void setRows(const std::vector<Row>& rows);
    void setAwake(const PopoverContent::KeepAwake& keepAwake);
    void setUpdate(const std::optional<PopoverContent::UpdateLine>& line);
    void setFooter(const PopoverContent::Footer& footer);
    void setProcesses(KeyedListModel& list, const std::vector<PopoverContent::ProcessLine>& lines);
    template <typename T>
    void set(T& member, T value, void (PopoverBridge::*changed)());

    ContentView& root_;
    Words words_;
    BannerCard banner_;
    int score_ = 0;
    QString scoreText_;
    QString scoreColour_;
    QString verdict_;
    QString line_;
    QString toggle_;
    bool breakdownShown_ = false;
    bool scanningSwap_ = false;
    QString swapButton_;
    QString swapNote_;
    AwakeLine awake_;
    UpdateLine update_;
    FooterLine footer_;
    QString reclaimResult_;
    std::vector<PopoverContent::KeepAwake::Choice> choices_; ///< of the menu, as shown
    KeyedListModel breakdown_;
    KeyedListModel status_;
    KeyedListModel rows_;
    KeyedListModel swapHolders_;
    KeyedListModel heaviest_;
};

} // namespace korvel
