#!/usr/bin/env bash
# The shared library exports its public API and nothing of its layers: no symbol of an internal
# namespace (BrevView::grid::, BrevView::data::, ... any BrevView::<lower-case>::) and no
# private class, while the public classes and calls are all there.
set -euo pipefail
lib=$1
symbols=$(nm -DC --defined-only "$lib" | cut -d' ' -f3-)
internal=$(grep -E 'BrevView::[a-z][A-Za-z0-9_]*::|BrevView::[A-Za-z0-9_]*Private\b' <<< "$symbols" || true)
if [ -n "$internal" ]; then
  echo "the library exports $(wc -l <<< "$internal") internal symbols, for example:"
  head -20 <<< "$internal"
  exit 1
fi
for wanted in 'BrevView::CreateControl(QString const&, QWidget\*)' 'BrevView::version()' \
  'BrevView::PriorityView::staticMetaObject' 'BrevView::ForecastView::staticMetaObject' \
  'BrevView::FlatView::staticMetaObject' 'BrevView::ChangeWatcher::staticMetaObject' \
  'typeinfo for BrevView::RuntimeError' 'BrevView::RegisterHostObject(' 'BrevView::Currency::'; do
  grep -qF -- "${wanted//\\/}" <<< "$symbols" || { echo "the library does not export $wanted"; exit 1; }
done
echo "exported symbols: public only ($(grep -c 'BrevView::' <<< "$symbols") of BrevView, $(wc -l <<< "$symbols") in all)"
