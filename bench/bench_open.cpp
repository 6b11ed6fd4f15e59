// Opening the builder's desktop window on a large conversion, against a bare QScintilla
// window holding the same text: construct, BuildTree, Show modeless, first paint.
//   bench_open [benchmark flags]     (Qt's offscreen platform unless QT_QPA_PLATFORM is set)
// The builder's Show runs the event loop once, so the first paint mostly falls into
// `show_ms`; `paint_ms` is what is left of it after Show returns.
// Each benchmark reports the process's resident memory before its first opening
// (`rss_before_MB`) and its peak (`maxrss_MB`); run them one per process for the peak of
// each (bench/open_vs_qscintilla.sh does).

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <Qsci/qsciscintilla.h>
#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "component/registry.h"
#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "host/conversion_document.h"
#include "qt/editor.h"
#include "qt/item_views.h"
#include "qt/services.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kLayouts = 1000;
constexpr int kFields = 100;
constexpr int kLines = 2000;

std::string GenerateConversion() {
  std::string out = R"({"version": 1, "source": {"type": "Generated", )"
                    R"("supportsMultipleRecordLayouts": true, "recordLayouts": [)";
  for (int l = 0; l < kLayouts; ++l) {
    out += l ? ",\n" : "\n";
    out += R"({"name": "Layout)" + std::to_string(l) + R"(", "fields": [)";
    for (int f = 0; f < kFields; ++f) {
      if (f) out += ", ";
      out += "\"Field" + std::to_string(f) + '"';
    }
    out += "]}";
  }
  out += "]}}\n";
  return out;
}

// Lines of the kinds users write, CR LF between them as the component keeps them.
std::string GenerateExpression() {
  std::string out;
  for (int i = 0; i < kLines; ++i) {
    if (i) out += "\r\n";
    const std::string ref = "Records(\"Layout" + std::to_string(i % kLayouts) +
                            "\").Fields(\"Field" + std::to_string(i % kFields) + "\")";
    switch (i % 4) {
      case 0:
        out += "If " + ref + " > " + std::to_string(i) + " Then";
        break;
      case 1:
        out += "  Left$(UCase$(" + ref + "), 20) & \" #" + std::to_string(i) + "\" ' note";
        break;
      case 2:
        out += "Else";
        break;
      default:
        out += "  Format$(Now(), \"yyyy\") & " + ref + "\r\nEnd If";
        ++i;
        break;
    }
  }
  return out;
}

double MegabytesPeak() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

double MegabytesNow() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return static_cast<double>(resident) * 4096.0 / (1024.0 * 1024.0);
}

// Counts paints of any QScintilla text area: the editor is the last thing to appear.
class PaintWatch : public QObject {
 public:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::Paint && watched->parent() &&
        watched->parent()->inherits("QsciScintilla"))
      ++paints;
    return false;
  }
  int paints = 0;
};

struct World {
  World() {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never deleted: at exit Qt's own globals may be gone before a static application.
    app = new QApplication(argc, argv);
    app->installEventFilter(&watch);
    data = fs::path(KX_SOURCE_DIR) / "data";
    document = kx::host::ConversionDocument::Parse(GenerateConversion(), "<generated>");
    expression = GenerateExpression();
    registry = kx::FileRegistry::Load(data / "kxexpr.reg");
    rss_before = MegabytesNow();
  }

  // Lets the window come up and returns once its editor has been painted since the count
  // was `before` (showing may already paint).
  void WaitForPaint(int before) {
    const auto give_up = Clock::now() + std::chrono::seconds(10);
    while (watch.paints == before) {
      QCoreApplication::processEvents(QEventLoop::AllEvents);
      if (Clock::now() > give_up) {
        std::fprintf(stderr, "bench_open: the editor was not painted within 10 s\n");
        std::abort();
      }
    }
  }

  static inline int argc = 1;
  static inline char name[] = "bench_open";
  static inline char* argv[] = {name, nullptr};
  QApplication* app;
  PaintWatch watch;
  fs::path data;
  std::shared_ptr<kx::host::ConversionDocument> document;
  std::string expression;
  std::shared_ptr<kx::Registry> registry;
  double rss_before = 0;
  QSize window_size;
  QSize editor_size;
  // Where the builder's window has its controls (in its client area), and what its token
  // list held, taken from its first opening.
  struct Place {
    QRect editor, tree, list;
    std::vector<std::pair<QRect, QString>> labels, buttons;
    int list_rows = 0;
  } place;
};

World& TheWorld() {
  static World world;
  return world;
}

struct Opened {
  std::unique_ptr<kx::qt::Environment> env;
  kx::ExprBldContext context;
  std::unique_ptr<kx::ExpressionBuilder> builder;
};

// The four steps of opening, each adding its time to `spent`. This and the other Open*
// functions are not inlined, so that a profiler can count one opening
// (bench/open_instructions.sh does).
[[gnu::noinline]] std::unique_ptr<Opened> OpenBuilder(World& w, double spent[4]) {
  auto stamp = Clock::now();
  auto lap = [&](int step) {
    const auto now = Clock::now();
    spent[step] += std::chrono::duration<double, std::milli>(now - stamp).count();
    stamp = now;
  };
  auto o = std::make_unique<Opened>();
  o->env = std::make_unique<kx::qt::Environment>();
  o->env->SetKeywordDirs({w.data});
  // The check runs half a second after the text went in, long after a real opening; under
  // valgrind an opening is slow enough for it to fall inside, so the counting asks it away.
  if (qEnvironmentVariableIsSet("KX_BENCH_NO_LIVE_CHECK")) o->env->SetLiveCheck({});
  o->context.services = o->env->Services();
  o->context.registry = w.registry;
  o->context.library_base = w.data;
  o->context.keyword_dirs = {w.data};
  o->context.new_checker = [] { return std::make_shared<kx::host::BasicCompiler>(); };
  o->builder = kx::NewExpressionBuilder(o->context);
  o->builder->SourceControl(w.document->Source());
  o->builder->Expression(w.expression);
  lap(0);
  o->builder->KXExpressionBuilder_BuildTree();
  lap(1);
  const int paints = w.watch.paints;
  o->builder->Show(0);
  lap(2);
  w.WaitForPaint(paints);
  lap(3);
  if (w.window_size.isEmpty()) {
    QMainWindow* main = o->env->dialogs().ExprBld()->Main();
    w.window_size = main->size();
    w.editor_size = main->findChild<kx::qt::EditorWidget*>()->size();
    QWidget* client = main->centralWidget();
    auto at = [&](QWidget* widget) {
      return QRect(widget->mapTo(client, QPoint()), widget->size());
    };
    w.place.editor = at(main->findChild<kx::qt::EditorWidget*>());
    w.place.tree = at(main->findChild<kx::qt::TreeWidget*>());
    auto* list = main->findChild<kx::qt::TokenListWidget*>();
    w.place.list = at(list);
    w.place.list_rows = list->model()->rowCount();
    for (auto* label : client->findChildren<QLabel*>())
      if (label->isVisible()) w.place.labels.emplace_back(at(label), label->text());
    for (auto* button : client->findChildren<QPushButton*>(Qt::FindDirectChildrenOnly))
      if (button->isVisible()) w.place.buttons.emplace_back(at(button), button->text());
  }
  return o;
}

void Close(std::unique_ptr<Opened> opened) {
  opened.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  QCoreApplication::processEvents();
}

// The sizes and places the others copy come from an opening of the builder, untimed.
void KnowPlaces(World& w) {
  if (!w.window_size.isEmpty()) return;
  double spent[4] = {};
  Close(OpenBuilder(w, spent));
}

void Report(benchmark::State& state, const World& w) {
  state.counters["rss_before_MB"] = w.rss_before;
  state.counters["maxrss_MB"] = MegabytesPeak();
}

void BM_OpenBuilder(benchmark::State& state) {
  World& w = TheWorld();
  double spent[4] = {};
  for (auto _ : state) {
    auto opened = OpenBuilder(w, spent);
    state.PauseTiming();
    Close(std::move(opened));
    state.ResumeTiming();
  }
  const char* names[] = {"construct_ms", "buildtree_ms", "show_ms", "paint_ms"};
  for (int i = 0; i < 4; ++i)
    state.counters[names[i]] = benchmark::Counter(spent[i], benchmark::Counter::kAvgIterations);
  state.counters["window_width"] = w.window_size.width();
  state.counters["window_height"] = w.window_size.height();
  Report(state, w);
}

[[gnu::noinline]] std::unique_ptr<QsciScintilla> OpenBare(World& w, const QString& text) {
  auto editor = std::make_unique<QsciScintilla>();
  editor->resize(w.window_size);
  editor->setText(text);
  const int paints = w.watch.paints;
  editor->show();
  w.WaitForPaint(paints);
  return editor;
}

// The same text in a QScintilla of the builder window's size, nothing else. That size may
// come as KX_BENCH_WINDOW=WIDTHxHEIGHT, so that a process of its own measures the bare
// window's memory without a builder opened in it.
void BM_OpenBareQScintilla(benchmark::State& state) {
  World& w = TheWorld();
  int width = 0, height = 0;
  if (std::sscanf(qgetenv("KX_BENCH_WINDOW").constData(), "%dx%d", &width, &height) == 2)
    w.window_size = QSize(width, height);
  KnowPlaces(w);
  const QString text = QString::fromLatin1(w.expression.data(), qsizetype(w.expression.size()));
  for (auto _ : state) {
    auto editor = OpenBare(w, text);
    state.PauseTiming();
    editor.reset();
    QCoreApplication::processEvents();
    state.ResumeTiming();
  }
  Report(state, w);
}

// The builder's editor as the window makes it: keyword colouring from the bundled file,
// line numbers, bookmark margin.
std::unique_ptr<kx::qt::QtEditor> MakeEditor(kx::qt::EditorWidget* widget,
                                             const std::vector<fs::path>& dirs) {
  auto editor = std::make_unique<kx::qt::QtEditor>("KXEditor1", widget, &dirs);
  editor->SetKeywordFile("kxsyntax.ini");
  editor->ReloadKeywords();
  return editor;
}

struct EditorAlone {
  std::unique_ptr<kx::qt::EditorWidget> widget;
  std::unique_ptr<kx::qt::QtEditor> editor;
};

[[gnu::noinline]] EditorAlone OpenEditorAlone(World& w, const std::vector<fs::path>& dirs) {
  EditorAlone o;
  o.widget = std::make_unique<kx::qt::EditorWidget>();
  o.editor = MakeEditor(o.widget.get(), dirs);
  o.widget->resize(w.editor_size);
  o.editor->InsertText(w.expression);
  const int paints = w.watch.paints;
  o.widget->show();
  w.WaitForPaint(paints);
  return o;
}

// The builder's editor alone, at the size it has in the window, holding the same text: the
// one control of an opening that the bare window is also made of.
void BM_OpenEditorAlone(benchmark::State& state) {
  World& w = TheWorld();
  KnowPlaces(w);
  const std::vector<fs::path> dirs = {w.data};
  for (auto _ : state) {
    auto opened = OpenEditorAlone(w, dirs);
    state.PauseTiming();
    opened.editor.reset();
    opened.widget.reset();
    QCoreApplication::processEvents();
    state.ResumeTiming();
  }
  Report(state, w);
}

// A floor for any window holding what the builder's must: its editor as above, its tree
// of categories and layouts, its token list as full, its labels and its own five buttons,
// where the builder has them; no menus, toolbar, operator pad nor presenter.
struct Floor {
  std::unique_ptr<QMainWindow> main;
  std::unique_ptr<kx::qt::QtEditor> editor;
  std::unique_ptr<kx::qt::QtTreeView> tree;
  std::unique_ptr<kx::qt::QtTokenGrid> grid;
};

[[gnu::noinline]] Floor OpenFloor(World& w, const std::vector<fs::path>& dirs,
                                  const std::vector<kx::ui::TreeNode>& layouts) {
  Floor o;
  o.main = std::make_unique<QMainWindow>();
  o.main->resize(w.window_size);
  auto* client = new QWidget(o.main.get());
  o.main->setCentralWidget(client);
  auto* editor_widget = new kx::qt::EditorWidget(client);
  editor_widget->setGeometry(w.place.editor);
  o.editor = MakeEditor(editor_widget, dirs);
  auto* tree_widget = new kx::qt::TreeWidget(client);
  tree_widget->setGeometry(w.place.tree);
  o.tree = std::make_unique<kx::qt::QtTreeView>("TreeView1", tree_widget);
  o.tree->AddNode({"FN", "Field Names", "", "", true});
  o.tree->AddNode({"SRC", "Source", "", "FN", true});
  o.tree->AddNodes(layouts);
  o.tree->AddNode({"FNC", "Flow Control and Functions", "FNC", "", true});
  o.tree->AddNode({"FC", "Flow Control", "FC", "FNC"});
  o.tree->AddNode({"OTL", "Type Libraries", "OTL", "", true});
  auto* list_widget = new kx::qt::TokenListWidget(client);
  list_widget->setGeometry(w.place.list);
  o.grid = std::make_unique<kx::qt::QtTokenGrid>("ssdgridtokens", list_widget);
  o.grid->SetRedraw(false);
  for (int i = 0; i < w.place.list_rows; ++i) o.grid->AddRow("Field" + std::to_string(i));
  o.grid->SetRedraw(true);
  for (const auto& [rect, text] : w.place.labels) (new QLabel(text, client))->setGeometry(rect);
  for (const auto& [rect, text] : w.place.buttons)
    (new QPushButton(text, client))->setGeometry(rect);
  o.editor->InsertText(w.expression);
  const int paints = w.watch.paints;
  o.main->show();
  w.WaitForPaint(paints);
  return o;
}

void BM_OpenWindowFloor(benchmark::State& state) {
  World& w = TheWorld();
  KnowPlaces(w);
  const std::vector<fs::path> dirs = {w.data};
  std::vector<kx::ui::TreeNode> layouts;
  for (int i = 0; i < kLayouts; ++i)
    layouts.push_back({"rs" + std::to_string(i), "Layout" + std::to_string(i), "record", "SRC"});
  for (auto _ : state) {
    Floor opened = OpenFloor(w, dirs, layouts);
    state.PauseTiming();
    opened.grid.reset();
    opened.tree.reset();
    opened.editor.reset();
    opened.main.reset();
    QCoreApplication::processEvents();
    state.ResumeTiming();
  }
  Report(state, w);
}

BENCHMARK(BM_OpenBuilder)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenWindowFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenEditorAlone)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenBareQScintilla)->Unit(benchmark::kMillisecond);

}  // namespace
