// Setting one item of a document and saving it, so that the file is whole at every moment.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <string>

#include "catalog.h"
#include "open_catalog.h"
#include "works.h"

namespace {

void SetByTarvik(const TarvikCatalog& catalog, const char* value) {
  Require(SetXMLItem(catalog.List(), catalog.Cookie(), "ProductPackage", "ProductID", "ELEMENT",
                     value) == XmlSuccess,
          "the item was not set");
}

// Of the folder, so that the new name stays after a loss of power.
void FlushFolderOf(const std::string& file) {
  const int folder =
      open(std::filesystem::path(file).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  Require(folder >= 0 && fsync(folder) == 0, "the folder was not flushed");
  close(folder);
}

// Writes a temporary file beside the old one, flushes it to the disk, puts it in the old one's
// place and flushes the folder.
void SaveByHand(const pugi::xml_document& document, const std::string& file) {
  const std::string temporary = file + ".new";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(temporary.c_str(), "wb"),
                                                               &std::fclose);
  Require(stream != nullptr, "no temporary file");
  pugi::xml_writer_file writer(stream.get());
  document.save(writer, "  ");
  Require(std::fflush(stream.get()) == 0 && fsync(fileno(stream.get())) == 0,
          "the file was not written");
  Require(std::rename(temporary.c_str(), file.c_str()) == 0, "the file was not replaced");
  FlushFolderOf(file);
}

void SetByHand(PugiCatalog& catalog, const std::string& file, const char* value) {
  catalog.document.child("Catalog").child("ProductPackage").child("ProductID").text().set(value);
  SaveByHand(catalog.document, file);
}

std::string TextOf(const std::string& file) {
  return PugiCatalog(file)
      .document.child("Catalog")
      .child("ProductPackage")
      .child_value("ProductID");
}

// Two values in turn, so that each set changes the document. The first save of a file that was only
// just written looks whether another program was there meanwhile; it is not measured.
template <class Set>
void Measure(benchmark::State& state, Set set) {
  set("PRODUCT_B");
  bool odd = false;
  for (auto _ : state) {
    odd = !odd;
    set(odd ? "PRODUCT_A" : "PRODUCT_B");
  }
}

// Setting an item of an open document whose file another program has written since.
template <class Set>
void MeasureMerge(const std::string& name, const std::string& text, const std::string& file,
                  Set set) {
  const auto measure = [text, file, set](benchmark::State& state) {
    const TarvikCatalog catalog(file);
    for (auto _ : state) {
      state.PauseTiming();
      std::ofstream(file, std::ios::binary | std::ios::trunc) << text; // the other program
      state.ResumeTiming();
      set(catalog);
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)->UseRealTime()->Unit(benchmark::kMicrosecond);
}

void RegisterMerge(const std::string& work, const std::string& text, const std::string& tarvikFile,
                   const std::string& pugiFile) {
  MeasureMerge(work + "/tarvik", text, tarvikFile,
               [](const TarvikCatalog& catalog) { SetByTarvik(catalog, "PRODUCT_A"); });
  MeasureMerge(work + "/pugixml", text, pugiFile, [pugiFile](const TarvikCatalog&) {
    PugiCatalog again(pugiFile);
    SetByHand(again, pugiFile, "PRODUCT_A");
  });
}

} // namespace

void RegisterSetAndSave(const WorkFolder& folder, const char* size, const char* place) {
  const std::string text =
      MakeCatalogOfSize(static_cast<std::size_t>(std::stod(size) * 1e6)); // "0.1MB"
  const std::string tarvikFile = folder.Write(std::string("set-by-tarvik-") + size + ".xml", text);
  const std::string pugiFile = folder.Write(std::string("set-by-pugixml-") + size + ".xml", text);
  SetByTarvik(TarvikCatalog(tarvikFile), "PRODUCT_C");
  PugiCatalog pugi(pugiFile);
  SetByHand(pugi, pugiFile, "PRODUCT_C");
  Require(TextOf(tarvikFile) == "PRODUCT_C" && TextOf(pugiFile) == "PRODUCT_C",
          "another text was saved");

  const std::string work = std::string("set_and_save/") + size + "/" + place;
  benchmark::RegisterBenchmark((work + "/tarvik").c_str(),
                               [tarvikFile](benchmark::State& state) {
                                 const TarvikCatalog catalog(tarvikFile);
                                 Measure(state,
                                         [&](const char* value) { SetByTarvik(catalog, value); });
                               })
      ->UseRealTime()
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark(
      (work + "/pugixml").c_str(),
      [pugiFile](benchmark::State& state) {
        PugiCatalog catalog(pugiFile);
        Measure(state, [&](const char* value) { SetByHand(catalog, pugiFile, value); });
      })
      ->UseRealTime()
      ->Unit(benchmark::kMicrosecond);
  RegisterMerge(std::string("merge/") + size + "/" + place, text, tarvikFile, pugiFile);
}
