from collections.abc import Iterator, Mapping, Sequence
from os import PathLike
from typing import Any, Literal, NamedTuple

__version__: str

_Path = str | PathLike[str]
_Capsule = Any
_Buffer = Any  # anything with the buffer protocol

class Error(Exception):
    status: int | None
    name: str | None

class Type(tuple):
    kind: str
    length: int
    flags: tuple[str, ...]
    code_page: int | str
    newline: Literal["nel", "lf"] | None
    precision: int
    scale: int
    model: str | None
    first_year: int
    def __new__(cls, kind: str, length: int = 0, *flags: str, code_page: int | str = 0,
                newline: Literal["nel", "lf"] | None = None, precision: int = 0, scale: int = 0,
                model: str | None = None, first_year: int = 0) -> Type: ...

class Problem(NamedTuple):
    status: int
    name: str
    offset: int
    unit: int
    needed: int
    text: str

class Outcome(NamedTuple):
    values: Any
    status: memoryview
    lengths: memoryview | None
    done: int
    refused: int
    nulls: int
    empty: int
    first_refused: int
    first_status: int

class Plan:
    from_type: Type
    to_type: Type
    options: tuple[str, ...]
    def __init__(self, from_type: Type, to_type: Type, *options: str) -> None: ...
    def run(self, source: _Buffer, target: _Buffer | None = None, *, count: int | None = None, offset: int = 0,
            stride: int | None = None, starts: _Buffer | None = None, lengths: _Buffer | None = None,
            select: _Buffer | None = None) -> Outcome: ...
    def explain(self, value: _Buffer) -> Problem | None: ...

def explain(what: Any, from_type: Type | None = None, to_type: Type | None = None) -> str | Problem | None: ...

class Column:
    name: str
    format: str
    null_count: int
    validity: memoryview | None
    offsets: memoryview | None
    data: memoryview
    def to_pylist(self) -> list[Any]: ...
    def __len__(self) -> int: ...
    def __buffer__(self, flags: int, /) -> memoryview: ...
    def __arrow_c_array__(self, requested_schema: _Capsule | None = None) -> tuple[_Capsule, _Capsule]: ...
    def __arrow_c_schema__(self) -> _Capsule: ...

class Batch:
    columns: list[Column]
    def column(self, key: int | str) -> Column: ...
    def __getitem__(self, key: int | str) -> Column: ...
    def __len__(self) -> int: ...
    def __arrow_c_array__(self, requested_schema: _Capsule | None = None) -> tuple[_Capsule, _Capsule]: ...
    def __arrow_c_schema__(self) -> _Capsule: ...

class Reject(NamedTuple):
    record: int
    field: str
    offset: int
    bytes: bytes
    status: int
    name: str
    text: str

class Written(NamedTuple):
    rows: int
    records: int
    refused: int
    rejects: list[Reject]

class Range(NamedTuple):
    first: int
    count: int
    offset: int | None = None
    bytes: int | None = None

class Records:
    @property
    def columns(self) -> dict[str, str]: ...
    @property
    def rejects(self) -> list[Reject]: ...
    @property
    def counts(self) -> dict[str, int]: ...
    def to_pandas(self, *, decimals: Literal["decimal", "float"] = "decimal") -> Any: ...
    def __iter__(self) -> Iterator[Batch]: ...
    def __arrow_c_stream__(self, requested_schema: _Capsule | None = None) -> _Capsule: ...
    def __arrow_c_schema__(self) -> _Capsule: ...

class Layout:
    def __init__(self, text: str | bytes, name: str = "copybook", *, binary_size: str | None = None,
                 sync: int | None = None, replacing: Mapping[str, str] | Sequence[str] | None = None,
                 include: _Path | Sequence[_Path] | None = None) -> None: ...
    @classmethod
    def from_copybook(cls, source: _Path | bytes, *, binary_size: str | None = None, sync: int | None = None,
                      replacing: Mapping[str, str] | Sequence[str] | None = None,
                      include: _Path | Sequence[_Path] | None = None) -> Layout: ...
    def items(self) -> list[dict[str, Any]]: ...
    def read(self, source: _Path | Sequence[_Path] | _Buffer, *, range: Range | None = None, first: int | None = None,
             count: int | None = None, columns: Sequence[str] | None = None,
             on_reject: Literal["skip", "keep", "stop"] = "skip", max_rejects: int = 0, segment: str | None = None,
             record_number: bool | None = None, record_format: Literal["F", "FB", "V", "VB", "D"] = "F",
             rdw_order: Literal["big", "little"] = "big", rdw_includes_itself: bool = True, rdw_adjust: int = 0,
             record_length: int | None = None, length_field: str | None = None, skip_header: int = 0,
             skip_trailer: int = 0, record_header: int = 0, record: str | None = None,
             redefines: Literal["all", "first"] = "all", odo: Literal["shift", "max"] | None = None,
             code_page: int | str | None = None, newline: Literal["nel", "lf"] | None = None,
             low_values: Literal["blank", "refuse", "keep"] = "blank",
             trim: Literal["right", "both", "none"] = "right", native: Literal["big", "little"] | None = None,
             float: Literal["ibm", "ieee"] | None = None, null: Mapping[str, str] | Sequence[str] | None = None,
             keep_bytes: bool = False, batch_bytes: int | None = None) -> Records: ...
    def read_segments(self, source: _Path | Sequence[_Path] | _Buffer, segments: Sequence[str],
                      **options: Any) -> dict[str, Records]: ...
    def write(self, path: _Path, data: Any, *, replace: bool = False, on_reject: Literal["skip", "keep", "stop"] = "skip",
              max_rejects: int = 0, columns: Sequence[str] | None = None,
              record_format: Literal["F", "FB", "V", "VB", "D"] = "F", rdw_order: Literal["big", "little"] = "big",
              rdw_includes_itself: bool = True, rdw_adjust: int = 0, record_length: int | None = None,
              length_field: str | None = None, skip_header: int = 0, skip_trailer: int = 0, record_header: int = 0,
              record: str | None = None, redefines: Literal["all", "first"] = "all",
              odo: Literal["shift", "max"] | None = None, code_page: int | str | None = None,
              newline: Literal["nel", "lf"] | None = None, binary: Literal["std", "full"] = "std",
              native: Literal["big", "little"] | None = None, float: Literal["ibm", "ieee"] | None = None,
              null: Mapping[str, str] | Sequence[str] | None = None, keep_bytes: bool = False) -> Written: ...
    def write_segments(self, path: _Path, tables: Mapping[str, Any], segments: Sequence[str], **options: Any) -> Written: ...
    def ranges(self, source: _Path | _Buffer, parts: int, **options: Any) -> list[Range]: ...
