// Bodies: opening, making, sharing and ending them; what stands where in a record.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "handle.h"
#include "record/blocks.h"

namespace sbrpy {
namespace {

Body own(SBR body) {
  // A handle that cannot be made must not leave the body behind.
  try {
    return {std::make_shared<Handle>(body)};
  } catch (...) {
    SBR_DeReference(body);
    throw;
  }
}

// A body of its own for a file: not shared by name with other openings, so that what one of them changes is not seen by
// the others.
SBR read_alone(const char *path, int &error) {
  std::FILE *stream = std::fopen(path, "rb");
  if (stream == nullptr) {
    error = errno;
    return nullptr;
  }
  SBR body = SBR_Create(0, 0);
  if (body == nullptr) {
    std::fclose(stream);
    return nullptr;
  }
  if (SBR_ReadSBR(body, stream, path) != 0) return body;
  SBR_DeReference(body);
  return nullptr;
}

[[noreturn]] void raise_system_error(int error, const std::string &path) {
  errno = error;
  PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
  throw py::error_already_set();
}

// Opens a record. `how`: 0 alone, 1 shared by name, 2 shared by name with internal geometry removed.
Body open_record(const std::string &path, int how, bool strict) {
  Reports reports;
  SBR body = nullptr;
  int error = 0;
  {
    const LibraryCall call(reports);
    body = how == 0   ? read_alone(path.c_str(), error)
           : how == 1 ? SBR_CreateFromSBR(path.c_str())
                      : SBR_CreateFromSBR_SurfaceMesh(path.c_str());
  }
  if (error != 0) raise_system_error(error, path);
  const std::string failure = path + ": not a readable Shape Body Record";
  if (body == nullptr) deliver(reports, Errors::raise, failure.c_str());
  Body result = own(body);
  if (!reports.list.empty()) deliver(reports, strict ? Errors::raise : Errors::warn, nullptr);
  return result;
}

Body create(int node_capacity, int mode_capacity) {
  SBR body = call_library([&] { return SBR_Create(node_capacity, mode_capacity); });
  if (body == nullptr) throw std::bad_alloc();
  return own(body);
}

py::tuple header(const Body &self) {
  struct Texts {
    char title[128], date[32], file[128], type[17], comments[3][80];
  } texts{};
  call(self, [&](SBR body) {
    SBR_Header(body, texts.title, texts.date, texts.file, texts.type, texts.comments[0], texts.comments[1],
               texts.comments[2]);
    return 0;
  });
  return py::make_tuple(text_of(texts.title), text_of(texts.date), text_of(texts.file), text_of(texts.type),
                        text_of(texts.comments[0]), text_of(texts.comments[1]), text_of(texts.comments[2]));
}

// A text that the library may write into.
class Writable {
 public:
  explicit Writable(const std::string &text) : bytes_(text.begin(), text.end()) { bytes_.push_back('\0'); }
  char *data() { return bytes_.data(); }

 private:
  std::vector<char> bytes_;
};

void set_header(const Body &self, const std::string &title, const std::string &file, const std::string &type,
                const std::string &comment1, const std::string &comment2, const std::string &comment3) {
  Writable texts[] = {Writable(title),    Writable(file),     Writable(type),
                      Writable(comment1), Writable(comment2), Writable(comment3)};
  require(self, "the header could not be stored", [&](SBR body) {
    return SBR_SetHeader(body, texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data(), texts[4].data(),
                         texts[5].data());
  });
}

// A stream that writes into memory.
class TextStream {
 public:
  TextStream() : stream_(open_memstream(&text_, &size_)) {
    if (stream_ == nullptr) throw std::bad_alloc();
  }
  ~TextStream() {
    if (stream_ != nullptr) std::fclose(stream_);
    std::free(text_);
  }
  TextStream(const TextStream &) = delete;
  TextStream &operator=(const TextStream &) = delete;

  std::FILE *stream() { return stream_; }
  // What was written; the end of writing. Raises MemoryError when it did not all fit.
  std::string text() {
    const bool whole = std::ferror(stream_) == 0;
    const bool closed = std::fclose(std::exchange(stream_, nullptr)) == 0;
    if (!whole || !closed) throw std::bad_alloc();
    return {text_, size_};
  }

 private:
  char *text_ = nullptr;
  std::size_t size_ = 0;
  std::FILE *stream_;
};

// Blocks as text, one after the other.
py::str report(const Body &self, const std::vector<int> &blocks) {
  TextStream out;
  call(self, [&](SBR body) {
    for (const int block : blocks) SBR_Contents(body, block, out.stream());
    return 0;
  });
  return text_of(out.text());
}

// The library's names of the blocks, by index.
py::list block_names() {
  py::list names;
  for (const sbr::BlockTexts &texts : sbr::kBlockTexts)
    names.append(py::str(texts.name != nullptr ? texts.name : "Old_monitor_points"));
  return names;
}

void close(Body &self) { self.handle.reset(); }

}  // namespace

void bind_bodies(py::module_ &module, py::class_<Body> &body) {
  module.def("open_record", open_record, py::arg("path"), py::arg("how"), py::arg("strict"),
             "Opens a record: how 0 alone, 1 shared by name, 2 shared by name without internal geometry.");
  module.def("create", create, py::arg("node_capacity"), py::arg("mode_capacity"), "An empty body.");
  module.def("block_names", block_names);
  body.def("close", close, "Lets the body go; arrays that look into it keep it alive.")
      .def_property_readonly("closed", [](const Body &self) { return self.handle == nullptr; })
      .def_property_readonly(
          "address", [](const Body &self) { return reinterpret_cast<std::uintptr_t>(open_handle(self)->body); },
          "The handle of the C interface, as a number.")
      .def("check", [](const Body &self) { return call(self, [](SBR b) { return CheckSBR(b) != 0; }); })
      .def("valid", [](const Body &self) { return call(self, [](SBR b) { return SBR_IsValid(b) != 0; }); })
      .def("header", header)
      .def("set_header", set_header)
      .def("exists",
           [](const Body &self, int block) { return call(self, [&](SBR b) { return SBR_Exists(b, block); }); })
      .def("block_size",
           [](const Body &self, int block) { return call(self, [&](SBR b) { return SBR_size_of_block(b, block); }); })
      .def("goto_block",
           [](const Body &self, int block) { return call(self, [&](SBR b) { return SBR_goto_block(b, block) != 0; }); })
      .def("version", [](const Body &self) { return call(self, [](SBR b) { return SBR_Version(b); }); })
      .def("set_version",
           [](const Body &self, std::uint32_t version) {
             call(self, [&](SBR b) { return SBR_SetVersion(b, version), 0; });
           })
      .def("report", report)
      .def("reread_stiffness",
           [](const Body &self) {
             require(self, "the stiffness could not be read again",
                     [](SBR b) { return SBR_ReadGeneralizedStiffness(b); });
           })
      .def("reread_mass",
           [](const Body &self) {
             require(self, "the mass could not be read again", [](SBR b) { return SBR_ReadGeneralizedMass(b); });
           })
      .def("reread_damping", [](const Body &self) {
        require(self, "the damping could not be read again", [](SBR b) { return SBR_ReadGeneralizedDamping(b); });
      });
}

}  // namespace sbrpy
