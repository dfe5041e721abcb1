// Keeps a node in QSettings, reads it back, and draws its status symbol.
#include <QGuiApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <cstdio>

#include "telvor/qt/node_settings_store.hpp"
#include "telvor/qt/presentation.hpp"
#include "telvor/qt/vocabulary_model.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  QTemporaryDir dir;
  QSettings settings(dir.filePath("viewer.ini"), QSettings::IniFormat);
  telvor::qt::NodeSettingsStore store(settings, "DicomNodes");

  telvor::DicomNode node(104);
  node.aetitle = "ARCHIVE";
  node.name = "Main archive";
  node.address = "192.0.2.10";
  store.append(node);
  node.port = "11112";
  store.update(0, node);

  const telvor::DicomNode back = store.nodes().at(0);
  const QIcon icon = telvor::qt::statusIcon(telvor::DicomNodeStatus::accessable());
  const telvor::qt::VocabularyModel* modes = telvor::qt::VocabularyModel::of<telvor::RetrieveModeType>();
  std::printf("%s at %s:%s, %d retrieve modes, status icon %s\n", back.aetitle->c_str(), back.address->c_str(),
              back.port->c_str(), modes->rowCount(), icon.isNull() ? "missing" : "drawn");
  delete modes;
  return back.port == "11112" && !icon.isNull() ? 0 : 1;
}
