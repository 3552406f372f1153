// Files: reading any format the library knows, writing native and foreign files.

#include <korvantix/container.hpp>
#include <korvantix/export.hpp>
#include <korvantix/import.hpp>
#include <korvantix/io.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bindings.hpp"

namespace korvantix::python {

void bind_io(py::module_& m) {
  m.def(
      "read",
      [](py::handle path_obj) {
        const std::string path = path_of(path_obj);
        SMatrixContainer c;
        {
          py::gil_scoped_release release;
          read_any(c, path.c_str());
        }
        return c;
      },
      py::arg("path"),
      "Reads a kvx-file (ASCII or binary), a Touchstone file or a CITIfile, recognised by its "
      "content, then by its extension. RuntimeError \"<path>: not a kvx-file, Touchstone file "
      "or CITIfile\" for anything else, and the reader's message for a damaged file.");
  m.def(
      "identify",
      [](py::handle path_obj) {
        const std::string path = path_of(path_obj);
        DataFileIdentity id;
        {
          py::gil_scoped_release release;
          id = identify(path.c_str());
        }
        return std::make_pair(id.format, id.version);
      },
      py::arg("path"), "(DataFormat, version as the file states it) of a data file.");
  m.def(
      "write",
      [](const SMatrixContainer& c, py::handle path_obj, FileFormat format) {
        const std::string path = path_of(path_obj);
        py::gil_scoped_release release;
        write(c, path.c_str(), format);
      },
      py::arg("container"), py::arg("path"), py::arg("format"),
      "Writes a kvx-file: ASCII or BINARY. RuntimeError \"Unable to write to <path>\".");
  m.def(
      "write",
      [](const SMatrixContainer& c, py::handle path_obj, ExportFormat format,
         std::optional<py::object> freqs_obj, double tolerance) {
        const std::string path = path_of(path_obj);
        std::optional<std::vector<double>> freqs;
        if (freqs_obj) freqs = real_vector(*freqs_obj, "frequencies");
        py::gil_scoped_release release;
        if (freqs) {
          write(c, path.c_str(), format, *freqs, tolerance);
        } else {
          write(c, path.c_str(), format);
        }
      },
      py::arg("container"), py::arg("path"), py::arg("format"), py::arg("frequencies") = py::none(),
      py::arg("tolerance") = 0.0,
      "Exports to Touchstone (TouchstoneV1, TouchstoneV2, or Touchstone choosing the version) or "
      "Citifile: the stored samples, or the container evaluated at frequencies (tolerance: the "
      "CITIfile writer's relative spacing below which a frequency is skipped).");
}

}  // namespace korvantix::python
