from typing import Dict, List, Optional, Tuple

#: Of the package, as the build knows it.
VERSION: str
#: By name: the result's type, the parameters as (type, name, length), the words of the header.
SIGNATURES: Dict[str, Tuple[str, List[Tuple[str, str, Optional[str]]], str]]
