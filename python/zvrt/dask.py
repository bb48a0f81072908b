"""Record files as Dask DataFrames, each partition a range of records that a worker reads by itself.

    import zvrt, zvrt.dask
    layout = zvrt.Layout.from_copybook("strikes.cpy")
    strikes = zvrt.dask.read_records(layout, "strikes.dat")
    strikes.COST_TOTAL.sum().compute()

Every worker needs the file under the same name, and zvrt. A range that was lost with its worker is read again by another.
"""
import os as _os

import dask.dataframe as _dataframe


def _part(range, layout, path, decimals, options):
    return layout.read(path, range=range, **options).to_pandas(decimals=decimals)


def read_records(layout, path, *, parts=None, part_bytes=64 << 20, decimals="decimal", on_reject="stop", **options):
    """A Dask DataFrame over a record file.

    parts: how many partitions at most; without it as many as give each some `part_bytes` of the file.
    decimals: as Records.to_pandas(). Other options as Layout.read().
    on_reject: a cell that is refused ends the computation with its record and the reason ("stop"); "skip" and "keep" go
    on as Layout.read() does, and what was refused is told by nobody.

    Files with length words, or lines, are read once here to find where their ranges begin.
    """
    if parts is None:
        parts = max(1, -(-_os.stat(path).st_size // part_bytes))
    options = {**options, "on_reject": on_reject}
    ranges = layout.ranges(path, parts, **options)
    meta = layout.read(b"", **options).to_pandas(decimals=decimals)
    if not ranges:
        return _dataframe.from_pandas(meta, npartitions=1)
    return _dataframe.from_map(_part, ranges, layout=layout, path=_os.fspath(path), decimals=decimals, options=options,
                               meta=meta, label="records")
