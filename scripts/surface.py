"""What the two libraries show: names by their export maps, by their headers, and in the built libraries."""
import pathlib
import re
import subprocess
import tempfile
from collections import Counter, namedtuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAPS = {"libadvapi32.so": ROOT / "advapi32.map", "libkernel32.so": ROOT / "kernel32/kernel32.map"}
HEADER_FOLDERS = (ROOT / "include", ROOT / "kernel32/include")
# Declares what implementation libraries export, which is not ours.
NOT_OURS = {"registry_entries.h"}
MARK = '__attribute__((visibility("default")))'

# A name with C linkage, its group in the map and the library; or a C++ name as it is declared.
Mapped = namedtuple("Mapped", "name group library is_cxx")
# A declared name, its header and its text.
Declared = namedtuple("Declared", "name header text")


def mapped(library):
    """The rows of an export map in order; patterns of C++ names are left out."""
    group, is_cxx, rows = "", False, []
    text = MAPS[library].read_text().split("local:")[0]
    for token in re.finditer(r'/\*(.*?)\*/|(extern "C\+\+" \{)|"([^"]+)";|^\s*([A-Za-z_]\w*);', text, re.S | re.M):
        if token[1]:
            group = " ".join(token[1].replace("*", " ").split())
        elif token[2]:
            is_cxx = True
        elif token[3] or token[4]:
            rows.append(Mapped(token[3] or token[4], group, library, is_cxx))
    return rows


def exported(library_file):
    """C++ names demangled, all others as they are."""
    lines = subprocess.run(["nm", "-D", "-C", "--defined-only", library_file], check=True, capture_output=True,
                           text=True).stdout
    # The sanitizers add names of their own.
    names = (line.split(maxsplit=2)[2] for line in lines.splitlines())
    return {name for name in names if not name.startswith(("__asan", "__odr_asan"))}


def headers():
    return sorted(path for folder in HEADER_FOLDERS for path in folder.rglob("*.h") if path.name not in NOT_OURS)


def preprocessed(compiler):
    """All headers in one text, with marks of the lines' origins, C++ overloads included."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder, "all.cpp")
        source.write_text("#define KV_SYM_32BIT_ADDRESSES\n" + "".join(f'#include "{path}"\n' for path in headers()))
        command = [compiler, "-std=c++20", "-E", *(f"-I{path}" for path in HEADER_FOLDERS), str(source)]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def name_of(declaration):
    """The function's, object's or class's own name."""
    declaration = re.sub(r"__attribute__\s*\(\(.*?\)\)\s*(?=;|$)|\balignas\([^)]*\)", " ", declaration)
    owner = re.match(r"^\s*([A-Za-z_]\w*)(?=\s*(?:final\b)?\s*(?::[^:]|$))", declaration)
    if owner:
        return owner[1]
    function = re.search(r"([A-Za-z_]\w*)\s*\(", declaration)
    return function[1] if function else re.search(r"([A-Za-z_]\w*)\s*(?:\[[^]]*\]\s*)*$", declaration)[1]


def declared(compiler):
    """Everything that the headers mark as exported, C and C++."""
    header, text, origins = "", [], []
    for line in preprocessed(compiler).splitlines():
        mark = re.match(r'# \d+ "([^"]+)"', line)
        if mark:
            header = mark[1]
        else:
            text.append(line)
            origins += [header] * (len(line) + 1)
    whole, found = "\n".join(text), []
    for match in re.finditer(re.escape(MARK) + r"([^;{]*)[;{]", whole):
        origin = pathlib.Path(origins[match.start()]).resolve()
        if any(folder in origin.parents for folder in HEADER_FOLDERS):
            declaration = " ".join(match[1].split())
            found.append(Declared(name_of(declaration), str(origin.resolve().relative_to(ROOT)), declaration))
    return found


def cxx_owner(name):
    """The class or function that a C++ row belongs to: of "vtable for kelvane::KvLog" it is KvLog."""
    return re.search(r"(?:kelvane::)?([A-Za-z_]\w*)(?:::|\(|$)", re.sub(r"^.* for ", "", name))[1]


def faults(build_folder, compiler):
    rows = [row for library in MAPS for row in mapped(library)]
    c_names = Counter(row.name for row in rows if not row.is_cxx)
    cxx_names = Counter(cxx_owner(row.name) for row in rows if row.is_cxx and "kelvane::" not in row.name)
    cxx_owners = {cxx_owner(row.name) for row in rows if row.is_cxx}
    shown = Counter(item.name for item in declared(compiler))
    for name, count in sorted(c_names.items()):
        if count != 1:
            yield f"{name}: stands {count} times in the maps"
    for name in sorted(set(c_names) | cxx_names.keys()):
        expected = c_names[name] + cxx_names[name]
        if shown[name] != expected:
            yield f"{name}: declared {shown[name]} times in the headers instead of {expected}"
    for library in MAPS:
        library_rows = mapped(library)
        names = {row.name for row in library_rows}
        found = exported(f"{build_folder}/lib/{library}")
        for name in sorted(names - found):
            yield f"{name}: in the map, not in {library}"
        for name in sorted(found - names):
            if library == "libadvapi32.so" or "kelvane::" not in name:
                yield f"{name}: in {library}, not in its map"
    # Exported classes of the base library are marked in its headers and go by the pattern of its map.
    for item in declared(compiler):
        is_base_cxx = item.header.startswith("kernel32/")
        if item.name not in c_names and item.name not in cxx_owners and not is_base_cxx:
            yield f"{item.name}: declared in {item.header}, in no map"
