"""What the build reads off a page."""

import pytest

from documents import anchor_of, read_page
from write_reference import referenced

PAGE = """# A page

<!-- not run: needs a network -->

```python
fetch()
```

<!-- c
int hidden = 1;
-->

```c
int shown = hidden;
```

<!-- output -->

```text
1
```

    See [there](other.md#far) and [outside](https://x).

<!-- functions of a.h b.h:word -->
```c
int f(void)
```
<!-- end of functions -->

## A page
"""


def test_marks_say_what_runs_and_what_it_prints():
    page = read_page("page.md", PAGE)
    assert [block.line for block in page.blocks if block.reason == "needs a network"] == [6]
    running = page.running("python", "c")
    assert [block.code for block in running] == ["int hidden = 1;\n", "int shown = hidden;\n"]
    assert [block.output for block in running] == [None, "1\n"]
    assert page.headers == ["a.h", "b.h:word"]


def test_headings_become_anchors_and_links_to_other_sites_are_left_alone():
    page = read_page("page.md", PAGE)
    assert page.anchors == ["a-page", "a-page-1"]
    assert [target for _, target in page.links] == ["other.md#far"]
    assert anchor_of("`u`, v: what is *meant*?") == "u-v-what-is-meant"


@pytest.mark.parametrize("text", ["```python\nx = 1\n", "<!-- python\nx = 1\n"])
def test_a_block_without_an_end_is_a_fault(text):
    with pytest.raises(ValueError, match="page.md:1"):
        read_page("page.md", text)


def test_functions_without_an_end_are_not_written_over_the_words_behind_them():
    mark = "<!-- functions of morvel/api/c/log.h -->"
    end = "<!-- end of functions -->"
    assert "set_log_level" in referenced(f"{mark}\n{end}\n")
    with pytest.raises(ValueError, match="needs its end"):
        referenced(f"{mark}\nwords\n\n{mark}\n{end}\n")
