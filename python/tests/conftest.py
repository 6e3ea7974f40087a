import pytest

import morvel


@pytest.fixture(autouse=True)
def empty_kernel():
    """Every test starts and ends with empty registries."""
    morvel.clear()
    yield
    morvel.clear()
